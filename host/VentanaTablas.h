#pragma once

#include "host/MantenimientoTablas.h"

#include <QtWidgets/QDialog>

class QGroupBox;
class QLabel;
class QProgressBar;
class QPushButton;
class QTableWidget;
struct TOficina;

/// The tables of the office, and what is done to them now and then. Works beside the window, which stays
/// alive and can stop it.
class TVentanaTablas : public QDialog
{
    Q_OBJECT
public:
    /// @param oficina  not owned; outlives the window.
    TVentanaTablas(TOficina &oficina, QWidget *padre);

    /// Copies the selected tables into a .zip, replacing one of that name.
    void HazCopia(const QString &fichero);
    /// Asks, and brings the selected tables back from a .zip; when all are selected, offers to take the
    /// copy's notaries where they are others.
    void Restaura(const QString &fichero);
    /// While something is being done it is stopped first, and the window closes when it has; where it came to
    /// an end by itself the window stays, with what it came to.
    void reject() override;
    [[nodiscard]] bool EnMarcha() const { return m_trabajo.EnMarcha(); }

private:
    void CreaLista();
    void CreaApartados();
    void LeeApartados();
    void QuitaElegidos();
    void CreaBotones();
    void Boton(const QString &titulo, const char *nombre, const QString &pista,
               const std::function<void()> &orden);
    void Lee();
    [[nodiscard]] QList<TTablaOficina> Elegidas();
    void Empieza(const TTrabajo::TCuerpo &cuerpo);
    void Termina(const QString &mensaje, bool cancelado);
    /// @return how the notaries of a copy and of this office differ; empty when they do not.
    [[nodiscard]] QString Diferencia(const QList<TNotario> &deLaCopia) const;
    void OfreceNotarios(const QList<TNotario> &deLaCopia);
    void PonEnMarcha(bool enMarcha);
    void PreguntaCopia();
    void PreguntaRestaurar();
    [[nodiscard]] QString CarpetaDeCopias() const;
    void RecuerdaCarpeta(const QString &fichero);

    TOficina &m_oficina;
    QList<TTablaOficina> m_tablas;
    QList<int> m_filas; ///< of the tables being worked on
    QTableWidget *TVTablas = nullptr;
    QList<TApartado> m_apartados;
    QGroupBox *GBApartados = nullptr; ///< seen only when there is something in it
    QTableWidget *TVApartados = nullptr;
    QPushButton *BQuitar = nullptr;
    QProgressBar *PBAvance = nullptr;
    QLabel *LMensaje = nullptr;
    QList<QPushButton *> m_botones;
    QPushButton *BCancelar = nullptr;
    bool m_cerrar = false;
    TTrabajo m_trabajo; ///< last: it ends before what it tells its news to
};
