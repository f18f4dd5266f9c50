#pragma once

#include "tests/simulacion/Azar.h"
#include "tests/simulacion/Juez.h"
#include "tests/simulacion/OtroPrograma.h"
#include "tests/simulacion/Proceso.h"

#include <filesystem>
#include <functional>

namespace simulacion
{

/// What a run has come to.
struct TCifras {
    qint64 Pasos = 0;
    qint64 Ordenes = 0;
    qint64 Conflictos = 0; ///< told that another workstation has changed something
    qint64 Negativas = 0;  ///< told that something could not be done
    qint64 Muertes = 0;
    quint64 Huella = 0; ///< of everything that was done, said and stored
    void Suma(const TCifras &otra);
};

struct TResultado {
    TVeredicto Fallo;
    TPasos Pasos; ///< up to the failure
    TCifras Cifras;
};

/// A day at the office, from its opening to its end: tables of its own, workstations, another program, and
/// the judge beside them.
class TJornada
{
public:
    /// @param puestos  how many workstations.
    TJornada(TCual cual, int puestos);
    ~TJornada();
    TJornada(const TJornada &) = delete;
    TJornada &operator=(const TJornada &) = delete;

    /// A day by chance. @param pasos  how many steps.
    static TResultado Corre(TCual cual, quint64 semilla, int pasos, int puestos);
    /// The same steps again; those that mean nothing any more do nothing.
    /// @param relato  takes what each step met, in words; may be null.
    static TResultado Repite(TCual cual, const TPasos &pasos, int puestos, QStringList *relato = nullptr);
    /// Takes steps out of a failing run for as long as it goes on failing by the same rule.
    /// @param intentos  how many runs that may cost. @return the shortest one found, with its failure.
    [[nodiscard]] static TResultado Recorta(TCual cual, const TResultado &fallida, int puestos, int intentos);

private:
    /// The next step, after so many; none: the day ends.
    using TSiguiente = std::function<std::optional<TPaso>(const TJornada &, int)>;
    static TResultado Vive(TCual cual, int puestos, QStringList *relato, const TSiguiente &siguiente);
    TVeredicto Abre();
    TVeredicto Haz(TPaso paso);
    TVeredicto HazEnPuesto(const TPaso &paso);
    TVeredicto Cierra();
    TVeredicto CierraPuesto(quint8 puesto, bool soloLlamadas);
    TCambios LeeTablas();
    void Anota(const TRespuesta &respuesta, const TCambios &cambios);
    void Relata(const TRespuesta &respuesta, const TCambios &cambios) const;
    [[nodiscard]] bool AlguienEnLlamada() const;
    [[nodiscard]] QList<TRespuesta> Ultimas() const;

    TCual m_cual;
    std::filesystem::path m_carpeta;
    std::vector<std::unique_ptr<TTablaCruda>> m_tablas;
    std::unique_ptr<TOtroPrograma> m_otro;
    std::vector<std::unique_ptr<TProceso>> m_puestos;
    std::unique_ptr<TJuez> m_juez;
    TCifras m_cifras;
    QStringList *m_relato = nullptr;
};

/// The scheduler's process is ready to begin workstations, and ends between two steps when it is interrupted,
/// with its folders removed; to be called before it opens a file.
void PreparaProcesos();

} // namespace simulacion
