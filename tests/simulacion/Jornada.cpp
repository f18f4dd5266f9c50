#include "tests/simulacion/Jornada.h"

#include "agenda/AgendaZenDM.h"
#include "tests/support/OficinaDePrueba.h"

#include <QtCore/QUuid>

#include <algorithm>
#include <csignal>
#include <cstdlib>

namespace simulacion
{

namespace
{

namespace fs = std::filesystem;

volatile std::sig_atomic_t g_senal = 0;

constexpr int PasosParaCerrar = 40; ///< of one workstation; boxes, card and window do not need more

void Mezcla(quint64 &huella, const QString &texto)
{
    for (const QChar letra : texto)
        huella = (huella ^ letra.unicode()) * 0x100000001B3ULL;
}

/// All folders of this program, in memory where the machine has such a place; removed with it.
struct TRaiz {
    TRaiz()
    {
        std::error_code nada;
        Carpeta = fs::is_directory("/dev/shm", nada) ? "/dev/shm" : fs::temp_directory_path();
        Carpeta /= "agenda-simulacion-" + QUuid::createUuid().toString(QUuid::WithoutBraces).toStdString();
        support::OficinaDePrueba modelo(Notarios);
        modelo.ponAjustes(9, 11, 30);
        dataset::DbfTable empleados(modelo.Aliases);
        empleados.setDatabaseName(QStringLiteral("ZENTRA"));
        empleados.setTableName(QStringLiteral("EMPLEADO"));
        empleados.createFile({{"NOMBRE", dataset::FieldKind::text, 40}});
        fs::create_directories(modelo.carpeta() / "CONFIG");
        HazUnica(modelo, TCual::unica, {});
        HazUnica(modelo, TCual::doble,
                 QStringLiteral("ANA").leftJustified(50) + QStringLiteral("BENITO").rightJustified(50));
        fs::create_directories(Carpeta);
        fs::copy(modelo.carpeta(), Carpeta / "modelo", fs::copy_options::recursive);
    }
    ~TRaiz()
    {
        std::error_code nada;
        fs::remove_all(Carpeta, nada);
    }
    /// AGENDA with its settings alone. @param nombres  of two notaries.
    static void HazUnica(support::OficinaDePrueba &modelo, TCual cual, const QString &nombres)
    {
        const QString alias = NombreDe(cual);
        const fs::path carpeta = modelo.carpeta() / alias.toStdString();
        fs::create_directories(carpeta);
        modelo.Aliases.add(alias, QString::fromStdString(carpeta.string()));
        dataset::DbfTable tabla(modelo.Aliases);
        PreparaTablaAgenda(tabla);
        tabla.setDatabaseName(alias);
        tabla.createFile(CamposAgenda());
        tabla.open();
        tabla.append();
        tabla.field(u"FECHA").setDate(FechaAjustes);
        tabla.field(u"HORA").setText(QStringLiteral("30"));
        tabla.field(u"CONCEPTO").setText(QStringLiteral("0911"));
        tabla.field(u"INTERESADO").setText(nombres);
        tabla.field(u"OFICIAL").setText(nombres.isEmpty() ? QString() : QStringLiteral("CONVENIO"));
        tabla.post();
    }
    TRaiz(const TRaiz &) = delete;
    TRaiz &operator=(const TRaiz &) = delete;
    fs::path Carpeta;
};

/// A folder with a small office: two notaries with empty tables, short day sheets, two clerks. In memory
/// where the system has such a place. The caller removes it.
fs::path HazOficina()
{
    static const TRaiz raiz;
    static int cuantas = 0;
    const fs::path carpeta = raiz.Carpeta / std::to_string(++cuantas);
    fs::copy(raiz.Carpeta / "modelo", carpeta, fs::copy_options::recursive);
    return carpeta;
}

} // namespace

void TCifras::Suma(const TCifras &otra)
{
    Pasos += otra.Pasos;
    Ordenes += otra.Ordenes;
    Conflictos += otra.Conflictos;
    Negativas += otra.Negativas;
    Muertes += otra.Muertes;
    Huella = Huella * 31 + otra.Huella;
}

TJornada::TJornada(TCual cual, int puestos)
    : m_cual(cual)
    , m_carpeta(HazOficina())
{
    const QString carpeta = QString::fromStdString(m_carpeta.string());
    for (int notario = 1; notario <= TablasDe(cual); ++notario)
        m_tablas.push_back(std::make_unique<TTablaCruda>(
            carpeta + (EsDeUnaTabla(cual) ? u'/' + NombreDe(cual) + QStringLiteral("/AGENDA.DBF")
                                          : QStringLiteral("/NOTARIO%1/AGENDA_N.DBF").arg(notario)),
            cual, notario));
    m_otro = std::make_unique<TOtroPrograma>(cual, carpeta, m_tablas);
    m_juez = std::make_unique<TJuez>(cual, m_tablas, puestos);
    for (int puesto = 0; puesto < puestos; ++puesto)
        m_puestos.push_back(std::make_unique<TProceso>(cual, carpeta));
}

TJornada::~TJornada()
{
    m_puestos.clear();
    m_otro.reset();
    std::error_code nada;
    std::filesystem::remove_all(m_carpeta, nada);
}

TResultado TJornada::Vive(TCual cual, int puestos, QStringList *relato, const TSiguiente &siguiente)
{
    TJornada jornada(cual, puestos);
    jornada.m_relato = relato;
    TResultado resultado;
    resultado.Fallo = jornada.Abre();
    while (!resultado.Fallo) {
        const std::optional<TPaso> paso = siguiente(jornada, static_cast<int>(resultado.Pasos.size()));
        if (!paso)
            break;
        resultado.Pasos << *paso;
        if (relato)
            *relato << EnPalabras(*paso);
        resultado.Fallo = jornada.Haz(*paso);
    }
    if (!resultado.Fallo)
        resultado.Fallo = jornada.Cierra();
    resultado.Cifras = jornada.m_cifras;
    return resultado;
}

TResultado TJornada::Corre(TCual cual, quint64 semilla, int pasos, int puestos)
{
    TAzar azar(semilla);
    TGuion guion(cual, azar);
    return Vive(cual, puestos, nullptr, [&](const TJornada &jornada, int hechos) -> std::optional<TPaso> {
        if (hechos == pasos)
            return {};
        return guion.Siguiente(jornada.Ultimas(), hechos, jornada.m_otro->Bloquea());
    });
}

TResultado TJornada::Repite(TCual cual, const TPasos &pasos, int puestos, QStringList *relato)
{
    return Vive(cual, puestos, relato, [&](const TJornada &, int hechos) -> std::optional<TPaso> {
        return hechos < pasos.size() ? std::optional(pasos.at(hechos)) : std::nullopt;
    });
}

TResultado TJornada::Recorta(TCual cual, const TResultado &fallida, int puestos, int intentos)
{
    TResultado corta = fallida;
    for (qsizetype trozo = corta.Pasos.size() / 2; trozo > 0 && intentos > 0;) {
        bool quitado = false;
        // From the end: what stands there is the least that the failure rests on.
        for (qsizetype desde = corta.Pasos.size() - trozo; desde >= 0 && intentos > 0; desde -= trozo) {
            TPasos pasos = corta.Pasos;
            pasos.remove(desde, trozo);
            --intentos;
            const TResultado prueba = Repite(cual, pasos, puestos);
            if (prueba.Fallo && prueba.Fallo->EsComo(*fallida.Fallo)) {
                corta = prueba;
                quitado = true;
                desde = qMin(desde, corta.Pasos.size());
            }
        }
        if (!quitado || trozo > 1)
            trozo /= 2;
    }
    return corta;
}

QList<TRespuesta> TJornada::Ultimas() const
{
    QList<TRespuesta> ultimas;
    for (const auto &puesto : m_puestos) {
        ultimas << puesto->Ultima();
        TPantalla &pantalla = ultimas.back().Pantalla;
        if (m_cual == TCual::doble && pantalla.FilaActual >= 0) // a line in memory, which others do not know
            pantalla.Actual.Marca = m_tablas.front()->Marca(pantalla.Filas.value(pantalla.FilaActual).Linea);
    }
    return ultimas;
}

bool TJornada::AlguienEnLlamada() const
{
    return std::any_of(m_puestos.begin(), m_puestos.end(),
                       [](const auto &puesto) { return puesto->Ultima().Estado == TEstado::enLlamada; });
}

TCambios TJornada::LeeTablas()
{
    TCambios cambios;
    for (const auto &tabla : m_tablas)
        cambios << tabla->Lee();
    return cambios;
}

void TJornada::Anota(const TRespuesta &respuesta, const TCambios &cambios)
{
    if (m_relato)
        Relata(respuesta, cambios);
    quint64 &huella = m_cifras.Huella;
    Mezcla(huella, QString::number(static_cast<int>(respuesta.Estado)) + respuesta.Pregunta +
                       respuesta.Pantalla.Fecha + respuesta.Pantalla.Pendiente);
    for (const TFila &fila : respuesta.Pantalla.Filas)
        Mezcla(huella, QString::number(fila.Sitio.Marca) + fila.Linea.EnTexto());
    for (const TCambio &cambio : cambios)
        Mezcla(huella,
               QString::number(cambio.Sitio.Marca) + (cambio.Despues ? cambio.Despues->EnTexto() : "-"));
    for (const QString &aviso : respuesta.Avisos) {
        m_cifras.Conflictos += aviso.contains(QLatin1String("otro puesto"), Qt::CaseInsensitive) ? 1 : 0;
        m_cifras.Negativas += aviso.contains(QLatin1String("No se ha podido")) ? 1 : 0;
    }
}

void TJornada::Relata(const TRespuesta &respuesta, const TCambios &cambios) const
{
    static const QStringList estados{
        "a la espera", "pregunta", "pide una fecha", "vista previa", "en mitad de una llamada",
        "cerrado",     "muerto"};
    const TPantalla &pantalla = respuesta.Pantalla;
    QStringList &relato = *m_relato;
    relato << QStringLiteral("    %1 %2 [%3] (%7) %4%5%6")
                  .arg(estados.at(static_cast<int>(respuesta.Estado)), respuesta.Pregunta, pantalla.Fecha,
                       pantalla.Ficha ? QStringLiteral("ficha ") : QString(),
                       pantalla.Editando ? QStringLiteral("editando ") : QString(), pantalla.Pendiente,
                       pantalla.Foco);
    for (const QString &aviso : respuesta.Avisos)
        relato << QStringLiteral("    aviso: ") + QString(aviso).replace(u'\n', u' ');
    for (const TFila &fila : pantalla.Filas)
        relato << QStringLiteral("      %1 %2 %3")
                      .arg(fila.Sitio == pantalla.Actual             ? QLatin1String(">")
                           : pantalla.Seleccion.contains(fila.Sitio) ? QLatin1String("+")
                                                                     : QLatin1String(" "))
                      .arg(fila.Sitio.Marca)
                      .arg(fila.Linea.EnTexto());
    for (const TCambio &cambio : cambios)
        relato << QStringLiteral("    tabla: ") + cambio.EnTexto();
}

TVeredicto TJornada::Abre()
{
    LeeTablas();
    for (std::size_t puesto = 0; puesto < m_puestos.size(); ++puesto) {
        if (auto fallo = HazEnPuesto({static_cast<quint8>(puesto), TVerbo::abre}))
            return fallo;
    }
    return {};
}

TVeredicto TJornada::Haz(TPaso paso)
{
    ++m_cifras.Pasos;
    if (paso.Verbo >= TVerbo::otroCambia) {
        // Who is stopped in the middle of writing has files half written, which nobody else may judge.
        m_otro->Haz(paso);
        Anota({}, LeeTablas());
        return {};
    }
    if (AlguienEnLlamada())
        paso.Percance = TPercance::ninguno; // one mishap at a time
    return HazEnPuesto(paso);
}

TVeredicto TJornada::HazEnPuesto(const TPaso &paso)
{
    if (g_senal != 0)
        std::exit(128 + g_senal);
    TProceso &puesto = *m_puestos.at(paso.Puesto);
    const TEstado antes = puesto.Ultima().Estado;
    const bool dormido = antes == TEstado::muerto || antes == TEstado::cerrado;
    if (dormido != (paso.Verbo == TVerbo::abre) && !(antes == TEstado::cerrado && paso.Verbo == TVerbo::mata))
        return {}; // means nothing here
    if ((antes == TEstado::enLlamada) != (paso.Verbo == TVerbo::sigue) && paso.Verbo != TVerbo::mata)
        return {};
    m_cifras.Ordenes += antes == TEstado::listo && paso.Verbo != TVerbo::tic ? 1 : 0;
    m_juez->Antes(paso, puesto.Ultima());
    if (paso.Verbo == TVerbo::mata)
        puesto.Mata();
    else if (antes == TEstado::muerto)
        puesto.Arranca(paso.A);
    else
        puesto.Da(paso);
    if (!puesto.Averia().isEmpty())
        return TFallo{u'f', QStringLiteral("el puesto %1 %2").arg(paso.Puesto + 1).arg(puesto.Averia())};
    if (puesto.Ultima().Estado == TEstado::muerto) {
        ++m_cifras.Muertes;
        m_otro->Sana();
    }
    const TCambios cambios = LeeTablas();
    Anota(puesto.Ultima(), cambios);
    const bool tranquilo = !m_otro->Bloquea() && !AlguienEnLlamada() && paso.Percance == TPercance::ninguno;
    return m_juez->Despues(paso, puesto.Ultima(), cambios, tranquilo);
}

/// The day ends: what is open is closed as a clerk would, and every screen is right once more before.
TVeredicto TJornada::Cierra()
{
    m_otro->Suelta();
    for (const bool soloLlamadas : {true, false}) { // those first, so that nobody is in the way of the others
        for (std::size_t puesto = 0; puesto < m_puestos.size(); ++puesto)
            if (auto fallo = CierraPuesto(static_cast<quint8>(puesto), soloLlamadas))
                return fallo;
    }
    return {};
}

TVeredicto TJornada::CierraPuesto(quint8 puesto, bool soloLlamadas)
{
    bool refrescado = false;
    for (int i = 0; i < PasosParaCerrar; ++i) {
        const TRespuesta &ultima = m_puestos[puesto]->Ultima();
        const bool enLlamada = ultima.Estado == TEstado::enLlamada;
        if (ultima.Estado == TEstado::muerto || ultima.Estado == TEstado::cerrado ||
            (soloLlamadas && !enLlamada))
            return {};
        TPaso paso{puesto, TVerbo::responde, 1};
        if (enLlamada) {
            paso.Verbo = TVerbo::sigue;
        } else if (ultima.Estado == TEstado::fecha) {
            paso = {puesto, TVerbo::eligeDia, -1};
        } else if (ultima.Estado == TEstado::listo) {
            const bool quieta = !ultima.Pantalla.Ficha && !ultima.Pantalla.Editando;
            paso = {puesto, quieta && !refrescado ? TVerbo::tic : TVerbo::tecla, escape};
            refrescado |= quieta;
        }
        if (auto fallo = HazEnPuesto(paso))
            return fallo;
    }
    return TFallo{u'f', QStringLiteral("el puesto %1 no se deja cerrar").arg(puesto + 1)};
}

void PreparaProcesos()
{
    const TProceso primero{TCual::multi, QString()};
    struct sigaction termina = {};
    termina.sa_handler = [](int senal) { g_senal = senal; };
    termina.sa_flags = static_cast<int>(SA_RESETHAND); // the second time at once
    ::sigaction(SIGINT, &termina, nullptr);
    ::sigaction(SIGTERM, &termina, nullptr);
}

} // namespace simulacion
