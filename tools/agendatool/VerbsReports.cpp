// Verbs that write printed sheets.

#include "agenda/AgendaNDM.h"
#include "agenda/ClaseConfAgendaN.h"
#include "agenda/HojaDia.h"
#include "agenda/Rnumcad.h"
#include "agenda/SemanaAgenda.h"
#include "agenda/host/Servicios.h"
#include "agendan/AgendaDiaNQR.h"
#include "agendan/AgendaNQR.h"
#include "report/Pdf.h"
#include "tools/agendatool/Text.h"
#include "tools/agendatool/Values.h"
#include "tools/agendatool/Verbs.h"

#include <QtCore/QLocale>
#include <QtCore/QLoggingCategory>
#include <QtGui/QGuiApplication>

#include <array>
#include <functional>
#include <memory>
#include <utility>

namespace agendatool
{

namespace
{

/// Letters need an application; a display they do not need.
class Letters
{
public:
    Letters()
    {
        if (QCoreApplication::instance())
            return;
        if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
            qputenv("QT_QPA_PLATFORM", "offscreen");
        QLoggingCategory::setFilterRules(QStringLiteral("default.warning=false")); // about missing desktops
        m_application = std::make_unique<QGuiApplication>(m_count, m_words.data());
        QLocale::setDefault(QLocale(QStringLiteral("es_ES")));
    }

private:
    int m_count = 1;
    std::string m_name = "agendatool";
    std::array<char *, 2> m_words{m_name.data(), nullptr};
    std::unique_ptr<QGuiApplication> m_application;
};

/// A host without a screen: it knows where the settings file is, and is asked for nothing else.
class Office : public TConfig, public IMensaje, public IRut, public IRvarias, public IReloj
{
public:
    explicit Office(QString path)
        : m_path(std::move(path))
    {
    }
    [[nodiscard]] QString GetPath() const override { return m_path; }
    [[nodiscard]] QString GetPrnOtros() const override { return {}; }

    [[nodiscard]] int GetnCuantos() const override { return 0; }
    [[nodiscard]] QString GetAliasZentra() const override { return {}; }
    [[nodiscard]] QString GetNombre1() const override { return {}; }
    [[nodiscard]] QString GetDon() const override { return {}; }
    [[nodiscard]] QStringList GetNotarios() const override { return {}; }
    [[nodiscard]] QDate GetAgenda_FechaInicio() const override { return {}; }
    void SetAgenda_FechaInicio(QDate /*fecha*/) override {}
    int Mensajes(const TMensaje & /*mensaje*/) override { return 0; }
    int Mensaje_SiNo(const QString &, const QString &, const QString &) override { return 0; }
    int Mensaje_NoSi(const QString &, const QString &, const QString &) override { return 0; }
    void Mensaje_Error(const QString &, const QString &) override {}
    [[nodiscard]] QString AliasNotario(int /*notario*/) override { return {}; }
    bool PreguntaFecha(QDate &, const QString &, const QString &) override { return false; }
    bool PreguntaOficial(QString & /*nombre*/) override { return false; }
    void Visualizador(report::Report & /*informe*/) override {}
    [[nodiscard]] bool EsBoton(const QWidget * /*control*/) const override { return false; }
    void TomaFocoControl(QWidget & /*control*/) override {}
    void DejaFocoControl(QWidget & /*control*/) override {}
    [[nodiscard]] QDate Hoy() const override { return {}; }

private:
    QString m_path;
};

/// The settings object, for as long as a sheet is written.
class Settings
{
public:
    Settings(const QString &path, const dataset::Aliases &aliases)
        : m_office(path)
        , m_services({&m_office, &m_office, &m_office, &m_office, &m_office, &aliases})
    {
        goConfAgendaN = std::make_unique<TClassConfAgendaN>();
    }
    ~Settings() { goConfAgendaN.reset(); }
    Settings(const Settings &) = delete;
    Settings &operator=(const Settings &) = delete;

private:
    Office m_office;
    TServiciosInstalados m_services;
};

QString textOf(const std::filesystem::path &path)
{
    return QString::fromStdString(pathText(path));
}

/// What the file system's rights are to Qt.
QFileDevice::Permissions toQt(std::filesystem::perms rights)
{
    using std::filesystem::perms;
    constexpr std::pair<perms, QFileDevice::Permission> all[] = {
        {perms::owner_read, QFileDevice::ReadOwner},  {perms::owner_write, QFileDevice::WriteOwner},
        {perms::owner_read, QFileDevice::ReadUser},   {perms::owner_write, QFileDevice::WriteUser},
        {perms::group_read, QFileDevice::ReadGroup},  {perms::group_write, QFileDevice::WriteGroup},
        {perms::others_read, QFileDevice::ReadOther}, {perms::others_write, QFileDevice::WriteOther}};
    QFileDevice::Permissions same;
    for (const auto &[right, its] : all)
        same.setFlag(its, (rights & right) != perms::none);
    return same;
}

void writeSheet(const Context &context, report::Report &layout)
{
    const auto table = dbase::findTable(context.args.folder, context.args.table);
    if (!table.ok())
        throw dataset::EDatabaseError(table.status());
    const upkeep::Progress progress = context.progress.steps("escribiendo la hoja");
    report::writePdf(
        layout, textOf(context.args.target),
        [&](int done, int total) {
            return progress(total > 0 ? static_cast<int>(qint64{100} * done / total) : 0);
        },
        toQt(upkeep::rightsOfCopy(table.value())));
}

using Sheet = std::function<void(dataset::DbfTable &table, QDate day, const std::optional<QString> &clerk)>;

/// Opens the table for reading and has a sheet of it written. @return the exit code.
int print(const Context &context, const Sheet &sheet)
{
    if (const int refused = refuseTableFile(context); refused != exitDone)
        return refused;
    const Arguments &args = context.args;
    try {
        const Letters letters;
        const std::filesystem::path folder = std::filesystem::absolute(args.folder).lexically_normal();
        const bool named = folder.has_filename(); // not so with a separator at the end
        dataset::Aliases aliases;
        aliases.add(QStringLiteral("AGENDA"), textOf(folder));
        const Settings settings(textOf((named ? folder : folder.parent_path()).parent_path()) + u'/',
                                aliases);
        dataset::DbfTable table(aliases);
        table.setDatabaseName(QStringLiteral("AGENDA"));
        PreparaTablaAgendaN(table);
        table.setTableName(QString::fromStdString(args.table));
        table.setOpenReadOnly(true);
        table.open();
        CompruebaCamposAgendaN(table);
        std::optional<QString> clerk;
        if (args.clerk)
            clerk = OficialDelInforme(QString::fromStdString(*args.clerk));
        sheet(table, QDate::fromString(QString::fromStdString(isoDate(*args.day)), Qt::ISODate), clerk);
    } catch (const dataset::EDatabaseError &error) {
        return context.fail(error.status());
    } catch (const std::exception &error) {
        return context.fail({dbase::ErrorKind::inputOutput, error.what()});
    }
    context.note("Escrito " + pathText(args.target));
    return exitDone;
}

} // namespace

int printDay(const Context &context)
{
    return print(context, [&](dataset::DbfTable &table, QDate day, const std::optional<QString> &clerk) {
        PonRangoDelDia(table, day);
        std::optional<TQRAgendaDiaN> layout;
        if (clerk)
            layout.emplace(nullptr, day, table, *clerk);
        else
            layout.emplace(nullptr, day, table);
        writeSheet(context, layout->QR);
    });
}

int printWeek(const Context &context)
{
    return print(context, [&](dataset::DbfTable &table, QDate day, const std::optional<QString> &clerk) {
        dataset::MemTable week;
        HazInformeSemana(
            {table, week, [&] { QuitaRangoDelDia(table); }, [&](QDate back) { PonRangoDelDia(table, back); }},
            day, clerk, [&](QDate monday) {
                TQRAgendaN layout(nullptr, monday, week);
                writeSheet(context, layout.QR);
            });
    });
}

} // namespace agendatool
