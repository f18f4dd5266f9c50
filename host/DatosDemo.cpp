#include "host/DatosDemo.h"

#include "agenda/AgendaNDM.h"
#include "agenda/FicheroIni.h"
#include "agenda/Rnumcad.h"
#include "dataset/DatabaseError.h"
#include "host/AgendaUnica.h"
#include "host/Configuracion.h"
#include "host/TablasOficina.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QStringList>

#include <random>

using dataset::DbfTable;

namespace
{

const QStringList Nombres = {"María", "Antonio", "Carmen",     "José",   "Begoña", "Íñigo",
                             "Lucía", "Andrés",  "Ángela",     "Martín", "Núria",  "Jesús",
                             "Elena", "Raúl",    "Concepción", "Óscar",  "Sofía",  "Tomás"};
const QStringList Apellidos = {"García",  "Núñez",     "Peláez", "Ibáñez",   "Muñoz",     "Rodríguez",
                               "Castaño", "Güell",     "Sáenz",  "Ortega",   "Villafañe", "Pérez",
                               "López",   "Domínguez", "Ruiz",   "Quiñones", "Vidal",     "Señor"};
const QStringList Oficiales = {"Marta Ibáñez", "Luis Peña",  "Rosa Güemes", "Julián Cañas",
                               "Teresa Ocaña", "Pablo Sáez", "Inés Muñiz"};
const QStringList Asuntos = {"Firma de escritura de compraventa",
                             "Testamento abierto",
                             "Poder general para pleitos",
                             "Poder notarial (copia autorizada)",
                             "Aceptación de herencia",
                             "Cancelación de hipoteca",
                             "Préstamo hipotecario",
                             "Constitución de sociedad limitada",
                             "Acta de notoriedad",
                             "Capitulaciones matrimoniales",
                             "Donación de nuda propiedad",
                             "Ampliación de capital y nombramiento de administrador",
                             "Acta de manifestaciones",
                             "Legitimación de firmas",
                             "Consulta sobre usufructo y legítima",
                             "Elevación a público de acuerdos sociales",
                             "División horizontal",
                             "Declaración de obra nueva"};
const QStringList Detalles = {"",
                              "",
                              "",
                              "; traen el borrador",
                              "; falta la nota simple del Registro",
                              "; acude también el cónyuge",
                              "; avisar cuando lleguen",
                              "; llevar dos copias"};
const QStringList Salidas = {"Firma en la sucursal del banco", "Testamento en el hospital",
                             "Junta en el Colegio", "Acta de presencia en obra",
                             "Visita a domicilio, C/ Peñón 14"};
const QStringList Calles = {"C/ Mayor", "Avda. de España", "Pza. del Pósito", "C/ Muñoz Degraín",
                            "Paseo de Ronda"};
const QStringList Poblaciones = {"Logroño", "A Coruña", "Cádiz", "Ávila", "León"};

constexpr int Clientes = 120;
constexpr int PrimeraHora = 9;
constexpr int UltimaHora = 20;
constexpr int Intervalo = 30;

/// Draws from the seed alone: the standard's distributions differ between libraries.
class TAzar
{
public:
    explicit TAzar(quint32 semilla)
        : m_motor(semilla)
    {
    }
    int Hasta(int cuantos) { return static_cast<int>(m_motor() % static_cast<quint32>(cuantos)); }
    bool Ciento(int probabilidad) { return Hasta(100) < probabilidad; }
    const QString &De(const QStringList &lista) { return lista.at(Hasta(static_cast<int>(lista.size()))); }
    QString Persona() { return De(Nombres) + u' ' + De(Apellidos) + u' ' + De(Apellidos); }

private:
    std::mt19937 m_motor;
};

class TGenerador
{
public:
    TGenerador(const QString &carpeta, const TDemo &demo)
        : m_carpeta(carpeta)
        , m_demo(demo)
        , m_azar(demo.Semilla)
    {
    }
    void Crea();

private:
    void CreaConfiguracion();
    void CreaComunes();
    void CreaAgenda(int notario);
    void RellenaDia(DbfTable &agenda, QDate fecha);
    void CreaUnica();
    void RellenaDiaUnico(DbfTable &agenda, QDate fecha);
    void Nueva(DbfTable &preparada, const QList<dataset::FieldInfo> &campos);

    QString m_carpeta;
    TDemo m_demo;
    TAzar m_azar;
    dataset::Aliases m_aliases;
    QStringList m_clientes;
    QStringList m_notarios;
};

void TGenerador::Crea()
{
    if (QFileInfo::exists(TConfiguracion::FicheroDe(m_carpeta)))
        throw dataset::EDatabaseError(
            QStringLiteral("La carpeta «%1» ya contiene una oficina.").arg(m_carpeta));
    QStringList alias{QStringLiteral("ZENTRA"), QStringLiteral("DB")};
    for (int notario = 1; notario <= m_demo.Notarios; ++notario) {
        alias << QStringLiteral("NOTARIO%1").arg(notario);
        m_notarios << m_azar.Persona();
    }
    for (const QString &nombre : std::as_const(alias)) {
        const QString carpeta = QDir(m_carpeta).absoluteFilePath(nombre);
        if (!QDir().mkpath(carpeta))
            throw dataset::EDatabaseError(QStringLiteral("No se puede crear la carpeta «%1».").arg(carpeta));
        m_aliases.add(nombre, carpeta);
    }
    CreaComunes();
    for (int notario = 1; notario <= m_demo.Notarios; ++notario)
        CreaAgenda(notario);
    CreaUnica();
    // Last: a folder with this file is an office, and a half-made one must not pass for it.
    CreaConfiguracion();
}

void TGenerador::CreaConfiguracion()
{
    TFicheroIni varios(m_carpeta + QStringLiteral("/CONFIG/VARIOS.INI"));
    varios.Escribe(QStringLiteral("GENERAL"), QStringLiteral("Oficina"),
                   QStringLiteral("Notaría de demostración"));
    varios.EscribeEntero(QStringLiteral("IncrementoMin"), QStringLiteral("AGENDASALIDA"), 15);
    varios.EscribeLogico(QStringLiteral("AGENDA"), QStringLiteral("SincronizarDia"), true);
    varios.Escribe(QStringLiteral("COLOR"), QStringLiteral("AGENDASALIDA"), QStringLiteral("$00C6C6FF"));
    TFicheroIni oficina(TConfiguracion::FicheroDe(m_carpeta));
    const QString seccion = QStringLiteral("Oficina");
    oficina.EscribeEntero(seccion, QStringLiteral("Notarios"), m_demo.Notarios);
    oficina.Escribe(seccion, QStringLiteral("AliasZentra"), QStringLiteral("ZENTRA"));
    oficina.Escribe(seccion, QStringLiteral("Don"), QStringLiteral("D."));
    oficina.Escribe(seccion, QStringLiteral("Nombre"), m_notarios.value(0));
    oficina.Escribe(seccion, QStringLiteral("FechaInicio"), Date_Cad(m_demo.Hoy));
    for (int notario = 1; notario <= m_demo.Notarios; ++notario) {
        const QString suya = QStringLiteral("Notario%1").arg(notario);
        oficina.Escribe(suya, QStringLiteral("Nombre"), m_notarios.at(notario - 1));
        oficina.Escribe(suya, QStringLiteral("Alias"), QStringLiteral("NOTARIO%1").arg(notario));
    }
}

void TGenerador::Nueva(DbfTable &preparada, const QList<dataset::FieldInfo> &campos)
{
    preparada.setDurable(false); // a demo that a power cut spoils is made again
    preparada.createFile(campos);
    preparada.open();
}

void TGenerador::CreaComunes()
{
    const QString zentra = QStringLiteral("ZENTRA");
    DbfTable comun(m_aliases);
    PreparaTablaComun(comun, zentra);
    Nueva(comun, CamposComun());
    AnadeLinea(comun, {"AGENDA", "HoraInicio", Int_Cad(PrimeraHora)});
    AnadeLinea(comun, {"AGENDA", "HoraFin", Int_Cad(UltimaHora)});
    AnadeLinea(comun, {"AGENDA", "intervalo", Int_Cad(Intervalo)});
    AnadeLinea(comun, {"FACTURAS", "Serie", "A"});

    DbfTable empleados(m_aliases);
    PreparaTablaEmpleados(empleados, zentra);
    Nueva(empleados, CamposEmpleados());
    for (int i = 0; i < Oficiales.size(); ++i)
        AnadeLinea(empleados, {i + 1, Oficiales.at(i), i == 0 ? "Oficial mayor" : "Oficial"});

    DbfTable clientes(m_aliases);
    PreparaTablaClientes(clientes, zentra);
    Nueva(clientes, CamposClientes());
    for (int codigo = 1; codigo <= Clientes; ++codigo) {
        m_clientes << m_azar.Persona();
        const int numero = 10000000 + m_azar.Hasta(80000000);
        AnadeLinea(clientes,
                   {codigo, m_clientes.back(),
                    QString::number(numero) + QStringLiteral("TRWAGMYFPDXBNJZSQVHLCKE").at(numero % 23),
                    QStringLiteral("6%1").arg(m_azar.Hasta(100000000), 8, 10, QLatin1Char('0')),
                    m_azar.De(Calles) + QStringLiteral(", %1").arg(1 + m_azar.Hasta(90)),
                    m_azar.De(Poblaciones)});
    }
}

void TGenerador::CreaAgenda(int notario)
{
    DbfTable agenda(m_aliases);
    agenda.setDatabaseName(QStringLiteral("NOTARIO%1").arg(notario));
    PreparaTablaAgendaN(agenda);
    Nueva(agenda, CamposAgendaN());
    const bool grande = notario == 1 && m_demo.AnyosDelPrimero > 0;
    const QDate ultimo = m_demo.Hoy.addMonths(m_demo.MesesDespues);
    QDate fecha =
        grande ? m_demo.Hoy.addYears(-m_demo.AnyosDelPrimero) : m_demo.Hoy.addMonths(-m_demo.MesesAntes);
    for (; fecha <= ultimo; fecha = fecha.addDays(1)) {
        if (fecha.dayOfWeek() < 7 && (grande || fecha.dayOfWeek() < 6 || m_azar.Ciento(20)))
            RellenaDia(agenda, fecha);
    }
}

void TGenerador::RellenaDia(DbfTable &agenda, QDate fecha)
{
    const bool ausente = m_azar.Ciento(3);
    for (int minuto = PrimeraHora * 60; minuto < (UltimaHora + 1) * 60; minuto += Intervalo) {
        const bool comida = minuto >= 14 * 60 && minuto < 16 * 60;
        const bool ocupada = m_azar.Ciento(comida ? 8 : 72);
        const bool salida = ocupada && m_azar.Ciento(9);
        QString concepto;
        QVariant codigo;
        QString interesado;
        if (salida) {
            concepto = QStringLiteral("[SALIDA]") + m_azar.De(Salidas);
        } else if (ocupada) {
            concepto = m_azar.De(Asuntos) + m_azar.De(Detalles);
            const int cliente = m_azar.Hasta(Clientes);
            interesado = m_azar.Ciento(70) ? m_clientes.at(cliente) : m_azar.Persona();
            if (interesado == m_clientes.at(cliente))
                codigo = cliente + 1;
        }
        if (ausente)
            concepto.prepend(QStringLiteral("[AUSENTE]"));
        AnadeLinea(agenda, {fecha, StrCeros(minuto / 60, 2) + u':' + StrCeros(minuto % 60, 2), concepto,
                            codigo, interesado, ocupada ? QVariant(m_azar.De(Oficiales)) : QVariant(),
                            salida || ausente ? "S" : "N", "N"});
    }
}

void TGenerador::CreaUnica()
{
    TAjustesUnica ajustes;
    ajustes.Duradera = false; // a demo that a power cut spoils is made again
    if (m_demo.Convenio)
        ajustes.Notarios = {m_notarios.value(0), m_demo.Notarios > 1 ? m_notarios.at(1) : m_azar.Persona()};
    const auto agenda = CreaAgendaUnica(m_aliases, ajustes);
    const QDate ultimo = m_demo.Hoy.addMonths(m_demo.MesesDespues);
    for (QDate fecha = m_demo.Hoy.addMonths(-m_demo.MesesAntes); fecha <= ultimo; fecha = fecha.addDays(1)) {
        if (fecha.dayOfWeek() < 6 || fecha == m_demo.Hoy)
            RellenaDiaUnico(*agenda, fecha);
    }
}

void TGenerador::RellenaDiaUnico(DbfTable &agenda, QDate fecha)
{
    for (int minuto = PrimeraHora * 60; minuto < (UltimaHora + 1) * 60; minuto += Intervalo) {
        const bool comida = minuto >= 14 * 60 && minuto < 16 * 60;
        const bool salida = !comida && m_azar.Ciento(7);
        // With two notaries each has a half of every text.
        QStringList oficial;
        QStringList concepto;
        QStringList interesado;
        for (int notario = 1; notario <= (m_demo.Convenio ? 2 : 1); ++notario) {
            const bool ocupada = m_azar.Ciento(comida ? 8 : 65);
            const QString empleado = m_azar.De(Oficiales);
            oficial << (ocupada ? m_demo.Convenio ? StrLeft(empleado.section(u' ', 0, 0), 8) : empleado
                                : QString());
            concepto << (ocupada ? m_azar.De(Asuntos) : QString());
            interesado << (ocupada ? m_azar.Persona() : QString());
        }
        QString donde = m_demo.Convenio ? QStringLiteral("0") : QStringLiteral("N");
        if (salida && m_demo.Convenio) {
            donde = m_azar.Ciento(50) ? QStringLiteral("1") : QStringLiteral("2");
            interesado[donde.toInt() - 1] = QStringLiteral("Salida");
        } else if (salida) {
            donde = QStringLiteral("S");
            concepto[0] = m_azar.De(Salidas);
        }
        const auto junta = [this](const QStringList &textos, int ancho, int hueco) {
            return m_demo.Convenio
                       ? Espacios(textos[0], ancho) + QString(hueco, u' ') + Espacios(textos[1], ancho)
                       : textos[0];
        };
        AnadeLinea(agenda, {fecha, StrCeros(minuto / 60, 2) + u':' + StrCeros(minuto % 60, 2),
                            junta(oficial, 8, 0), donde, junta(concepto, 30, 15), junta(interesado, 50, 0)});
    }
}

} // namespace

void CreaDatosDemo(const QString &carpeta, const TDemo &demo)
{
    TGenerador(carpeta, demo).Crea();
}
