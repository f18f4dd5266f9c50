#pragma once

#include "tests/simulacion/Tabla.h"

#include <QtCore/QSet>

#include <memory>
#include <vector>

namespace simulacion
{

/// What must never happen, by the letter of the rule that it breaks.
struct TFallo {
    QChar Regla; ///< a: lost or unseen, b: doubled, c: day, d: half done, e: silently lost, f: cannot go on
    QString Que;
    /// The same rule, broken by the same kind of command.
    [[nodiscard]] bool EsComo(const TFallo &otro) const
    {
        const bool porOrden = Regla == u'b' || Regla == u'd';
        const auto deTextos = [](const TFallo &fallo) { return fallo.Que.startsWith(u"el texto"); };
        return Regla == otro.Regla && deTextos(*this) == deTextos(otro) &&
               (!porOrden || deTextos(*this) || Que.section(u':', 0, 0) == otro.Que.section(u':', 0, 0));
    }
};
using TVeredicto = std::optional<TFallo>;
[[nodiscard]] TFallo Fallo(char regla, const QString &que);
/// Whether rows stand in the order of the notaries and hours.
[[nodiscard]] bool EnOrden(const QList<TFila> &filas);
/// A date as FECHA has it. @param fecha  as it stands on the screen; a year of two digits is one of this
/// century.
[[nodiscard]] QString Clave(const QString &fecha);

/// Knows what every screen has shown when its clerk gave a command, and judges by that what the command has
/// done to the tables.
class TJuez
{
public:
    /// @param tablas  of the notaries, in order; not owned. @param puestos  how many workstations.
    TJuez(TCual cual, const std::vector<std::unique_ptr<TTablaCruda>> &tablas, int puestos);
    /// A workstation is about to do a step. @param ultima  what it said last.
    void Antes(const TPaso &paso, const TRespuesta &ultima);
    /// It has done it. @param cambios  of the tables meanwhile. @param tranquilo  nobody holds a lock or is
    /// in the middle of something, so that it could read all it wanted.
    [[nodiscard]] TVeredicto Despues(const TPaso &paso, const TRespuesta &ahora, const TCambios &cambios,
                                     bool tranquilo);
    /// Its screen agrees with the tables, to be asked after a refresh that nothing hindered.
    [[nodiscard]] TVeredicto AlDia(const TPantalla &pantalla) const;

private:
    /// From the key that begins something to the moment when the workstation is at rest again.
    struct TOrden {
        bool Abierta = false;
        TPasos Pasos;
        TPantalla Pantalla; ///< when it was given
        QMap<TSitio, QList<TLinea>> Vistas;
        QList<TSitio> Lineas; ///< those that it is about
        QStringList Avisos;
        TCambios Cambios;
        QSet<QString> Escrito;
        QString Pendiente;
        QString Destino;
        QString FechaTecleada; ///< and not left yet, when it was given
        bool Edita = false;    ///< something was being typed at some time
        bool EnFicha = false;  ///< in the card
        bool Cancelada = false;
        bool ConFecha = false; ///< the date field had the keys at some time
        bool Negada = false;
        bool PreguntaBorrar = false;
        int PreguntasAnadir = 0; ///< whether a slot that one notary lacks is to be added
        bool Percance = false;
        int Choques = 0; ///< told of so many lines that both versions have been kept
    };
    /// What a workstation of the single table keeps from one command to the next.
    struct TMemoria {
        QStringList Copia;      ///< texts of what has been copied
        QList<TLinea> Borradas; ///< by one of two notaries' clerk; AGENDA has them until "Volver"
    };
    [[nodiscard]] const TTablaCruda &Tabla(int notario) const
    {
        return *m_tablas.at(static_cast<std::size_t>(notario - 1));
    }
    [[nodiscard]] QList<TSitio> LineasDe(const TPantalla &pantalla) const;
    void Empieza(TOrden &orden, const TPantalla &pantalla) const;
    static void Ensena(TOrden &orden, const TPantalla &pantalla, bool ficha);
    /// How many lines a command has deleted, added, changed, and added without a text.
    struct TCuentas {
        qsizetype Borradas = 0, Nuevas = 0, Cambiadas = 0, Vacias = 0;
    };
    [[nodiscard]] static TCuentas Cuenta(const TOrden &orden);
    [[nodiscard]] TFallo ConCuentas(const TOrden &orden, qsizetype todas) const;
    /// The command that a step is, by its place in Acciones; -1: none.
    [[nodiscard]] int AccionDe(const TPaso &paso) const;
    [[nodiscard]] bool Tiene(const TOrden &orden, int accion) const;
    /// An outing or an absence.
    [[nodiscard]] bool TieneMarca(const TOrden &orden) const;
    [[nodiscard]] TVeredicto JuzgaCambio(const TOrden &orden, const TCambio &cambio) const;
    [[nodiscard]] TVeredicto JuzgaNueva(const TOrden &orden, const TCambio &cambio) const;
    [[nodiscard]] TVeredicto JuzgaPantalla(const TPantalla &pantalla) const;
    [[nodiscard]] TVeredicto JuzgaHojas(const TRespuesta &ahora, bool tranquilo) const;
    [[nodiscard]] TVeredicto JuzgaTextos(const TOrden &orden, const TMemoria &memoria) const;
    [[nodiscard]] TVeredicto JuzgaCuentas(const TOrden &orden, bool muerto) const;
    [[nodiscard]] static TVeredicto JuzgaPendiente(const TOrden &orden, bool muerto);
    void Recuerda(const TOrden &orden, TMemoria &memoria, const TRespuesta &ahora) const;
    // The day of two notaries, whose lines change their records. JuezDeDos.cpp
    [[nodiscard]] TVeredicto JuzgaCitas(const TOrden &orden, const TMemoria &memoria,
                                        const TRespuesta &ahora) const;
    [[nodiscard]] TVeredicto JuzgaPareja(const TOrden &orden, const TLinea &antes,
                                         const TLinea &despues) const;
    [[nodiscard]] TVeredicto AlDiaDeDos(const TPantalla &pantalla, TMemoria &memoria) const;
    /// Of the lines deleted here those that AGENDA has and a screen does not show.
    [[nodiscard]] QList<TLinea> SinMostrar(const QList<TLinea> &borradas, const TPantalla &pantalla) const;
    [[nodiscard]] int PuedenChocar(const TOrden &orden, const TMemoria &memoria) const;
    // The day of several notaries. JuezConjunto.cpp
    [[nodiscard]] bool PedidaEnConjunta(const TOrden &orden, const TCambio &cambio) const;
    [[nodiscard]] TVeredicto JuzgaConjunta(const TOrden &orden, bool muerto) const;
    TCual m_cual;
    const std::vector<std::unique_ptr<TTablaCruda>> &m_tablas;
    QList<TOrden> m_ordenes;
    QList<TMemoria> m_memorias;
};

} // namespace simulacion
