// Whether a folder keeps what the tables count on when several programs work in it: locks that all see, one
// view of a file for all, and a disk that says when it has written.

#include "dbase/ChildProcess.h"
#include "tools/agendatool/Sides.h"
#include "tools/agendatool/Text.h"
#include "tools/agendatool/Verbs.h"

#include <algorithm>
#include <iomanip>
#include <ostream>
#include <random>
#include <sstream>
#include <thread>

namespace agendatool
{

namespace
{

namespace fs = std::filesystem;
using dbase::ErrorKind;
using dbase::File;
using dbase::Result;
using dbase::Status;
using Kind = File::LockKind;
using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr std::string_view folderPrefix = "prueba-red-";
/// For somebody to walk over to the other workstation.
constexpr std::chrono::minutes guestPatience(10);
constexpr std::chrono::seconds helperPatience(30);

constexpr const char *dataFile = "datos";
constexpr const char *oldFile = "viejo";
constexpr const char *newFile = "nuevo";

constexpr int rounds = 10;              ///< of each look at what the other has written, in either direction
constexpr std::size_t dataSize = 12288; ///< three pages of memory
constexpr std::chrono::milliseconds pause(20);
constexpr int samples = 50;
constexpr int flushes = 10;
constexpr std::size_t sector = 512;
constexpr int callsOfAChange = 12; ///< that go to the server and back when a line is changed
constexpr Milliseconds slowestChange(1000);

std::string milliseconds(Milliseconds time)
{
    constexpr double least = 0.01;
    const double value = time.count();
    if (value < least)
        return "menos de 0,01 ms";
    std::ostringstream out;
    out << std::fixed << std::setprecision(value < 1 ? 2 : value < 10 ? 1 : 0) << value;
    std::string text = out.str();
    std::replace(text.begin(), text.end(), '.', ',');
    return text + " ms";
}

/// The middle one of the times that a work takes.
template <class Work> Milliseconds medianOf(int times, Work &&work)
{
    std::vector<Milliseconds> all;
    for (int i = 0; i < times; ++i) {
        const auto begun = Clock::now();
        work(i);
        all.emplace_back(Clock::now() - begun);
    }
    std::nth_element(all.begin(), all.begin() + times / 2, all.end());
    return all[static_cast<std::size_t>(times / 2)];
}

/// A folder for the trial alone, gone at the end.
class TrialFolder
{
public:
    static Result<fs::path> make(const fs::path &where)
    {
        constexpr std::string_view letters =
            "abcdefghijkmnpqrstuvwxyz23456789"; // none that is read for another
        std::random_device random;
        std::string name(folderPrefix);
        for (int i = 0; i < 6; ++i)
            name += letters[random() % letters.size()];
        std::error_code failed;
        if (fs::create_directory(where / name, failed))
            return where / name;
        return Status(ErrorKind::inputOutput, "no se puede crear una carpeta en ella: " + failed.message());
    }

    explicit TrialFolder(fs::path path)
        : m_path(std::move(path))
    {
    }
    TrialFolder(const TrialFolder &) = delete;
    TrialFolder &operator=(const TrialFolder &) = delete;
    ~TrialFolder() { static_cast<void>(removed()); }
    [[nodiscard]] const fs::path &path() const { return m_path; }
    /// @throws Refused
    void remove() const
    {
        if (const std::error_code failed = removed())
            throw Refused("no se puede quitar " + pathText(m_path) + ": " + failed.message());
    }

private:
    /// A file that another workstation has just closed may still be open for the server.
    [[nodiscard]] std::error_code removed() const
    {
        constexpr std::chrono::seconds patience(5);
        const auto begun = Clock::now();
        std::error_code failed;
        for (;;) {
            fs::remove_all(m_path, failed);
            if (!failed || Clock::now() - begun > patience)
                return failed;
            std::this_thread::sleep_for(pause);
        }
    }

    fs::path m_path;
};

/// The lines that the user reads.
class Report
{
public:
    explicit Report(const Context &context)
        : m_context(context)
    {
    }

    /// One trial: `work` answers with what it has found, or throws Refused. @throws Lost
    template <class Work> bool trial(const std::string &name, Work &&work)
    {
        m_context.progress.phase(name);
        ++m_trials;
        try {
            good(name, work());
            return true;
        } catch (const Lost &) {
            throw; // of no single trial
        } catch (const Refused &why) {
            bad(name, why.what());
            return false;
        }
    }
    /// Something worth knowing that is neither right nor wrong.
    void fact(const std::string &name, const std::string &found) const
    {
        if (!m_context.args.quiet)
            line("dato ", name, found);
    }
    /// The last line. @return the exit code that goes with it.
    int verdict() const
    {
        if (m_faults == 0) {
            m_context.note("Resultado: la carpeta sirve para que trabajen en ella varios " +
                           std::string(m_context.args.waits ? "puestos." : "programas de este puesto."));
            if (!m_context.args.waits)
                m_context.note("Para probarla entre dos puestos: agendatool red CARPETA --espera");
            return exitDone;
        }
        m_context.out() << "Resultado: MAL, " << m_faults << " de " << m_trials
                        << " pruebas. No trabaje en esta carpeta hasta que todas salgan bien.\n";
        return exitFailed;
    }

private:
    void good(const std::string &name, const std::string &found) const
    {
        if (!m_context.args.quiet)
            line("ok   ", name, found);
    }
    void bad(const std::string &name, const std::string &found)
    {
        ++m_faults;
        line("mal  ", name, found);
    }
    void line(const char *mark, const std::string &name, const std::string &found) const
    {
        m_context.out() << mark << name << ": " << found << '\n' << std::flush;
    }

    const Context &m_context;
    int m_trials = 0;
    int m_faults = 0;
};

class Trials
{
public:
    /// @param patience  with what one has written and the other does not see.
    Trials(Report &report, Side &here, Side &there, fs::path folder, std::chrono::milliseconds patience)
        : m_report(report)
        , m_here(here)
        , m_there(there)
        , m_folder(std::move(folder))
        , m_patience(patience)
    {
    }

    /// @throws Lost
    void all()
    {
        if (!m_report.trial("Crear un fichero", [this] { return createData(); }))
            return;
        locks();
        views();
        if (m_report.trial("Vaciar al disco", [this] { return flush(); }))
            m_report.trial("Ida y vuelta", [this] { return times(); });
    }

    /// What a workstation knows of its own mount. @throws Lost
    void mount(const std::string &where, Side &side)
    {
        const Ground ground = side.ground();
        m_report.fact("Sistema de ficheros" + where, ground.text);
        const std::string name = "Montaje" + where;
        for (const std::string &warning : ground.warnings)
            m_report.trial(name, [&]() -> std::string { throw Refused(warning); });
        if (!ground.optionsTold)
            m_report.fact(name, "el sistema no dice con qué opciones");
        else if (ground.warnings.empty())
            m_report.trial(name, [] { return "ninguna opción que estorbe"; });
    }

private:
    template <class Work> void bothWays(Work &&work)
    {
        for (const bool turned : {false, true})
            work(turned ? m_there : m_here, turned ? m_here : m_there);
    }

    std::string createData()
    {
        m_here.create(dataFile, dataSize, 'a');
        m_there.open(0, dataFile);
        return "el otro programa lo abre";
    }

    /// Both have the file open once, and no lock.
    void openAnew()
    {
        for (Side *const side : {&m_here, &m_there}) {
            side->close(1);
            side->open(0, dataFile);
        }
    }

    void locks()
    {
        const struct {
            const char *name;
            Kind first;
            Kind second;
            bool both;
        } cases[] = {
            {"Bloqueo exclusivo contra exclusivo", Kind::exclusive, Kind::exclusive, false},
            {"Bloqueo exclusivo contra compartido", Kind::exclusive, Kind::shared, false},
            {"Bloqueo compartido contra exclusivo", Kind::shared, Kind::exclusive, false},
            {"Bloqueo compartido contra compartido", Kind::shared, Kind::shared, true},
        };
        for (const auto &one : cases)
            m_report.trial(one.name, [&]() -> std::string {
                openAnew();
                bothWays([&](Side &a, Side &b) { meet(a, one.first, b, one.second, one.both); });
                return one.both ? "entran los dos" : "el otro no entra hasta que se suelta";
            });
        m_report.trial("Bloqueo y otra apertura del fichero", [this] { return secondHandle(); });
        m_report.trial("Bloqueo y cierre del fichero", [this] { return closing(); });
        m_report.trial("Bloqueo y el otro que abre y cierra", [this] { return comingAndGoing(); });
        sameHandle();
    }

    /// A lock that nobody has; servers may need a moment, as tables give it to them.
    void take(Side &side, Kind kind) const
    {
        const auto begun = Clock::now();
        while (!side.lock(0, kind)) {
            if (Clock::now() - begun > m_patience)
                throw Refused("no deja entrar aunque nadie tiene el bloqueo");
            std::this_thread::sleep_for(pause);
        }
    }

    void meet(Side &a, Kind first, Side &b, Kind second, bool both) const
    {
        take(a, first);
        if (b.lock(0, second) != both)
            throw Refused(both ? "el otro no entra"
                               : "el otro entra: los programas no ven los bloqueos unos de otros");
        a.unlock(0);
        if (!both)
            take(b, second);
        b.unlock(0);
    }

    std::string secondHandle()
    {
        openAnew();
        bothWays([this](Side &a, Side &b) {
            a.open(1, dataFile);
            take(a, Kind::exclusive);
            a.close(1);
            if (b.lock(0, Kind::exclusive))
                throw Refused("al cerrar la otra apertura se pierde el bloqueo");
            a.unlock(0);
        });
        return "cerrarla no quita el bloqueo";
    }

    std::string closing()
    {
        openAnew();
        bothWays([this](Side &a, Side &b) {
            take(a, Kind::exclusive);
            a.close(0);
            take(b, Kind::exclusive);
            b.unlock(0);
            a.open(0, dataFile);
        });
        return "al cerrarlo queda libre";
    }

    /// Servers that lend a file to a workstation call it back when another one opens it, and locks have been
    /// seen to get stuck over that.
    std::string comingAndGoing()
    {
        openAnew();
        for (int round = 0; round < rounds; ++round) {
            bothWays([this](Side &a, Side &b) {
                b.close(0);
                take(a, Kind::exclusive);
                b.open(0, dataFile);
                if (b.lock(0, Kind::exclusive))
                    throw Refused("al abrirlo el otro se pierde el bloqueo");
                a.unlock(0);
                take(b, Kind::exclusive);
                b.unlock(0);
            });
        }
        return "se toma y se suelta (" + std::to_string(2 * rounds) + " veces)";
    }

    /// Systems differ here, and the tables count on none of it.
    void sameHandle()
    {
        std::string found;
        try {
            openAnew();
            take(m_here, Kind::shared);
            if (!m_here.lock(0, Kind::exclusive)) {
                found = "el segundo se rechaza";
            } else {
                m_here.unlock(0);
                const bool free = m_there.lock(0, Kind::exclusive);
                found = free ? "el segundo sustituye al primero" : "se apilan, y cada uno se suelta aparte";
            }
        } catch (const Lost &) {
            throw;
        } catch (const Refused &why) {
            found = why.what();
        }
        m_report.fact("Dos bloqueos por la misma apertura", found);
    }

    void views()
    {
        m_report.trial("Escribir encima", [this] { return writeOver(); });
        m_report.trial("Escribir más allá del final", [this] { return writeBeyond(); });
        m_report.trial("Escribir uno al lado del otro", [this] { return writeBeside(); });
        m_report.trial("Cambiar un fichero por otro", [this] { return replace(); });
    }

    /// What the other has written is to be there at once; if not, the user learns how late it comes.
    void expectSeen(Side &reader, std::uint64_t offset, std::size_t length, char letter) const
    {
        const std::string expected = std::to_string(length) + ' ' + letter;
        if (reader.read(0, offset, length) == expected)
            return;
        const auto begun = Clock::now();
        do {
            std::this_thread::sleep_for(pause);
            if (reader.read(0, offset, length) == expected)
                throw Refused("lo que escribe uno tarda en verlo el otro " +
                              milliseconds(Clock::now() - begun));
        } while (Clock::now() - begun < m_patience);
        throw Refused("lo que escribe uno no lo ve el otro en " + milliseconds(m_patience));
    }

    /// Does one thing in both directions, with a letter that has not been there.
    template <class Work> std::string manyTimes(Work &&work)
    {
        openAnew();
        char letter = 'a';
        static_assert('a' + 2 * rounds <= 'z');
        for (int round = 0; round < rounds; ++round)
            bothWays([&](Side &a, Side &b) { work(a, b, ++letter); });
        return "el otro lo lee en el acto (" + std::to_string(2 * rounds) + " veces)";
    }

    std::string writeOver()
    {
        return manyTimes([this](Side &a, Side &b, char letter) {
            b.read(0, 0, dataSize); // so that there is something old to remember
            a.write(0, 0, dataSize, letter);
            expectSeen(b, 0, dataSize, letter);
        });
    }

    std::string writeBeyond()
    {
        constexpr std::size_t more = 5000; // ends within a page
        std::uint64_t end = dataSize;
        return manyTimes([&](Side &a, Side &b, char letter) {
            b.read(0, end - 1, 2); // the last byte, and that there is none behind it
            a.write(0, end, more, letter);
            expectSeen(b, end, more, letter);
            end += more;
        });
    }

    /// A workstation that has written in a page must not take its own copy for the whole truth.
    std::string writeBeside()
    {
        return manyTimes([this](Side &a, Side &b, char letter) {
            constexpr std::size_t part = 100;
            const auto other = static_cast<char>(letter - 'a' + 'A');
            b.write(0, 0, part, other);
            a.write(0, part, part, letter);
            expectSeen(b, part, part, letter);
            expectSeen(a, 0, part, other);
        });
    }

    std::string replace()
    {
        bool late = false;
        bothWays([&](Side &a, Side &b) {
            const auto opensNew = [&b] {
                b.open(0, oldFile);
                const bool is = b.read(0, 0, sector) == std::to_string(sector) + " n";
                b.close(0); // some systems do not replace what is open
                return is;
            };
            b.create(oldFile, sector, 'v');
            opensNew();
            a.create(newFile, sector, 'n');
            a.rename(newFile, oldFile);
            if (!opensNew()) {
                // Some keep a closed file for a while, and for as long as it is opened again and again.
                std::this_thread::sleep_for(m_patience);
                late = true;
                if (!opensNew())
                    throw Refused("el otro sigue abriendo el viejo");
            }
            b.rename(oldFile, "quitado");
        });
        return late ? "el otro abre el nuevo, aunque no en el acto" : "el otro abre el nuevo";
    }

    static void must(const Status &status)
    {
        if (!status.ok())
            throw Refused(status.text());
    }

    std::string flush()
    {
        m_here.close(0);
        m_there.close(0);
        auto opened = File::open(m_folder / dataFile, File::Mode::readWrite);
        must(opened.status());
        m_data = std::move(opened).value();
        const std::vector<std::uint8_t> bytes(sector, 'x');
        m_flush = medianOf(flushes, [&](int i) {
            must(m_data.writeAt(static_cast<std::uint64_t>(i) * sector, bytes));
            must(m_data.sync());
        });
        return milliseconds(m_flush) + " cada vez";
    }

    std::string times()
    {
        const auto locking = medianOf(samples, [this](int i) {
            const auto at = lockOffset - static_cast<std::uint64_t>(i);
            const auto got = m_data.tryLock(at, 1, Kind::exclusive);
            must(got.status());
            if (!got.value())
                throw Refused("no deja entrar aunque nadie tiene el bloqueo");
            m_data.unlock(at, 1);
        });
        std::vector<std::uint8_t> bytes(sector);
        const auto reading = medianOf(samples, [&](int i) {
            must(m_data.readAt(static_cast<std::uint64_t>(i) * sector, bytes).status());
        });
        const Milliseconds change = callsOfAChange * std::max(locking / 2, reading) + m_flush;
        const std::string found = "bloquear y soltar " + milliseconds(locking) + ", leer " +
                                  milliseconds(reading) + "; guardar un cambio (unas " +
                                  std::to_string(callsOfAChange) +
                                  " idas y vueltas y un vaciado) vendrá a tardar " + milliseconds(change);
        if (change > slowestChange)
            throw Refused(found + ", demasiado para trabajar");
        return found;
    }

    Report &m_report;
    Side &m_here;
    Side &m_there;
    fs::path m_folder;
    std::chrono::milliseconds m_patience;
    File m_data;
    Milliseconds m_flush{};
};

/// The part of the program that another one has called.
int help(const Context &context)
{
    const Arguments &args = context.args;
    const auto isPlain = [](char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-'; };
    if (!args.meeting.starts_with(folderPrefix) ||
        !std::all_of(args.meeting.begin(), args.meeting.end(), isPlain)) {
        context.err() << "agendatool: «" << args.meeting
                      << "» no es una prueba que haya empezado otro puesto\n";
        return exitUsage;
    }
    context.note("Este puesto contesta al otro; el resultado se lee allí.");
    const fs::path folder = args.folder / args.meeting;
    std::error_code none;
    if (!fs::is_directory(folder, none))
        return context.fail({ErrorKind::notFound, "esa prueba no está en la carpeta", pathText(folder)});
    const Status served = serve(folder);
    if (!served.ok())
        return context.fail(
            {ErrorKind::inputOutput, "la prueba no ha terminado: " + served.text(), served.file()});
    context.note("La prueba ha terminado.");
    return exitDone;
}

void invite(const Context &context, const fs::path &folder)
{
    context.out() << "En el otro puesto, con esta carpeta como se llame allí:\n    agendatool red "
                  << pathText(context.args.folder) << " --desde-otro-puesto " << pathText(folder.filename())
                  << "\nSe espera diez minutos.\n"
                  << std::flush;
}

/// The trial proper, in a folder made for it.
/// @throws Lost
void tryOut(const Context &context, Report &report, const fs::path &folder)
{
    std::optional<dbase::ChildProcess> helper;
    FarSide there(folder, [&helper] { return helper && helper->hasEnded(); });
    if (!report.trial("Escribir en la carpeta", [&]() -> std::string {
            if (const Status status = there.prepare(); !status.ok())
                throw Refused(status.text());
            return "se puede";
        }))
        return;
    NearSide here(folder);
    Trials trials(report, here, there, folder, context.patience);
    trials.mount("", here);
    if (!report.trial("Segundo programa", [&]() -> std::string {
            if (context.args.waits) {
                invite(context, folder);
                there.meet(guestPatience);
                return "el otro puesto ha llegado";
            }
            const auto program = context.program.empty() ? dbase::runningProgram() : context.program;
            auto started =
                dbase::ChildProcess::start(program, {"red", fs::absolute(context.args.folder), "--quiet",
                                                     "--desde-otro-puesto", folder.filename()});
            if (!started.ok())
                throw Refused(started.status().text());
            helper = std::move(started).value();
            there.meet(helperPatience);
            return "en marcha";
        }))
        return;
    if (context.args.waits)
        trials.mount(" en el otro puesto", there);
    trials.all();
    there.dismiss();
    if (helper)
        static_cast<void>(helper->hasEnded(helperPatience)); // with it goes its last file of the folder
}

} // namespace

int tryShare(const Context &context)
{
    if (!context.args.meeting.empty())
        return help(context);
    std::error_code none;
    if (!fs::is_directory(context.args.folder, none))
        return context.fail({ErrorKind::notFound, "la carpeta no existe", pathText(context.args.folder)});
    Report report(context);
    const auto made = TrialFolder::make(context.args.folder);
    if (!made.ok()) {
        report.trial("Escribir en la carpeta", [&]() -> std::string { throw Refused(made.status().text()); });
        return report.verdict();
    }
    const TrialFolder folder(made.value());
    try {
        tryOut(context, report, folder.path());
        report.trial("Quitar lo que ha hecho la prueba", [&]() -> std::string {
            folder.remove();
            return "nada queda en la carpeta";
        });
    } catch (const Lost &why) {
        report.trial("Segundo programa", [&]() -> std::string { throw Refused(why.what()); });
    }
    return report.verdict();
}

} // namespace agendatool
