#include "host/DatosDemo.h"

#include "agenda/AgendaNDM.h"
#include "agenda/AgendaZenDM.h"
#include "agenda/FicheroIni.h"
#include "agenda/Rnumcad.h"
#include "dataset/DatabaseError.h"
#include "host/Configuracion.h"
#include "host/OficinaNueva.h"
#include "host/TablasOficina.h"

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
const QStringList OficialesInventados = {"Marta Ibáñez", "Luis Peña",  "Rosa Güemes", "Julián Cañas",
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
    void RellenaClientes();
    void RellenaAgenda(int notario);
    void RellenaDia(DbfTable &agenda, QDate fecha);
    void RellenaUnica();
    void RellenaDiaUnico(DbfTable &agenda, QDate fecha);

    QString m_carpeta;
    TDemo m_demo;
    TAzar m_azar;
    dataset::Aliases m_aliases;
    QStringList m_clientes;
    QStringList m_oficiales;
};

void TGenerador::Crea()
{
    if (QFileInfo::exists(TConfiguracion::FicheroDe(m_carpeta)))
        throw dataset::EDatabaseError(
            QStringLiteral("La carpeta «%1» ya contiene una oficina.").arg(m_carpeta));
    TOficinaNueva oficina;
    oficina.Notarios = m_demo.NombresNotarios;
    for (int notario = 1; m_demo.NombresNotarios.isEmpty() && notario <= m_demo.Notarios; ++notario)
        oficina.Notarios << m_azar.Persona();
    m_oficiales = m_demo.Oficiales.isEmpty() ? OficialesInventados : m_demo.Oficiales;
    oficina.Oficiales = m_oficiales;
    oficina.HoraInicio = m_demo.HoraInicio;
    oficina.HoraFin = m_demo.HoraFin;
    oficina.Intervalo = m_demo.Intervalo;
    oficina.Hoy = m_demo.Hoy;
    // On the screen it stands behind black text, on paper it is the text.
    oficina.ColorSalida = QStringLiteral("$003C3CD8");
    m_demo.Convenio = m_demo.Convenio && oficina.Notarios.size() > 1;
    oficina.Convenio = m_demo.Convenio;
    m_aliases = CreaTablasDeOficina(m_carpeta, oficina);
    RellenaClientes();
    for (int notario = 1; notario <= oficina.Notarios.size(); ++notario)
        RellenaAgenda(notario);
    RellenaUnica();
    TFicheroIni(m_carpeta + QStringLiteral("/CONFIG/VARIOS.INI"))
        .Escribe(QStringLiteral("GENERAL"), QStringLiteral("Oficina"),
                 QStringLiteral("Notaría de demostración"));
    // Last: a folder with this file is an office, and a half-made one must not pass for it.
    CreaConfiguracionDeOficina(m_carpeta, oficina);
}

void TGenerador::RellenaClientes()
{
    const QString zentra = QStringLiteral("ZENTRA");
    DbfTable comun(m_aliases);
    PreparaTablaComun(comun, zentra);
    comun.open();
    AnadeLinea(comun, {"FACTURAS", "Serie", "A"});

    DbfTable clientes(m_aliases);
    PreparaTablaClientes(clientes, zentra);
    clientes.setDurable(false); // a demo that a power cut spoils is made again
    clientes.open();
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

void TGenerador::RellenaAgenda(int notario)
{
    DbfTable agenda(m_aliases);
    agenda.setDatabaseName(QStringLiteral("NOTARIO%1").arg(notario));
    agenda.setDurable(false);
    PreparaTablaAgendaN(agenda);
    agenda.open();
    const bool grande = notario == 1 && m_demo.AnyosDelPrimero > 0;
    const QDate ultimo = m_demo.Hoy.addMonths(m_demo.MesesDespues);
    QDate fecha =
        grande ? m_demo.Hoy.addYears(-m_demo.AnyosDelPrimero) : m_demo.Hoy.addMonths(-m_demo.MesesAntes);
    for (; fecha <= ultimo; fecha = fecha.addDays(1)) {
        // The first day that is shown has its sheet, whatever day of the week the office is made on.
        const bool laborable =
            fecha.dayOfWeek() < 7 && (grande || fecha.dayOfWeek() < 6 || m_azar.Ciento(20));
        if (laborable || fecha == m_demo.Hoy)
            RellenaDia(agenda, fecha);
    }
}

void TGenerador::RellenaDia(DbfTable &agenda, QDate fecha)
{
    const bool ausente = m_azar.Ciento(3) && fecha != m_demo.Hoy;
    for (int minuto = m_demo.HoraInicio * 60; minuto < (m_demo.HoraFin + 1) * 60;
         minuto += m_demo.Intervalo) {
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
                            codigo, interesado, ocupada ? QVariant(m_azar.De(m_oficiales)) : QVariant(),
                            salida || ausente ? "S" : "N", "N"});
    }
}

void TGenerador::RellenaUnica()
{
    DbfTable agenda(m_aliases);
    PreparaTablaAgenda(agenda);
    agenda.setDurable(false);
    agenda.open();
    const QDate ultimo = m_demo.Hoy.addMonths(m_demo.MesesDespues);
    for (QDate fecha = m_demo.Hoy.addMonths(-m_demo.MesesAntes); fecha <= ultimo; fecha = fecha.addDays(1)) {
        if (fecha.dayOfWeek() < 6 || fecha == m_demo.Hoy)
            RellenaDiaUnico(agenda, fecha);
    }
}

void TGenerador::RellenaDiaUnico(DbfTable &agenda, QDate fecha)
{
    for (int minuto = m_demo.HoraInicio * 60; minuto < (m_demo.HoraFin + 1) * 60;
         minuto += m_demo.Intervalo) {
        const bool comida = minuto >= 14 * 60 && minuto < 16 * 60;
        const bool salida = !comida && m_azar.Ciento(7);
        // With two notaries each has a half of every text.
        QStringList oficial;
        QStringList concepto;
        QStringList interesado;
        for (int notario = 1; notario <= (m_demo.Convenio ? 2 : 1); ++notario) {
            const bool ocupada = m_azar.Ciento(comida ? 8 : 65);
            const QString empleado = m_azar.De(m_oficiales);
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
