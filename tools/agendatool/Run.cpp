#include "tools/agendatool/Run.h"

#include "tools/agendatool/PlainText.h"
#include "tools/agendatool/Text.h"
#include "tools/agendatool/Verbs.h"

#include <algorithm>
#include <array>
#include <exception>
#include <filesystem>
#include <new>
#include <optional>
#include <ostream>
#include <sstream>
#include <vector>

namespace agendatool
{

namespace
{

constexpr std::string_view helpText =
    R"(Uso: agendatool ORDEN CARPETA TABLA [DESTINO u ORIGEN] [opciones]

Sin TABLA, info, check, repair y backup tratan todas las que hay en la carpeta y en las que cuelgan de ella.

Órdenes:
  create                 crea una tabla de agenda, vacía
  info                   campos, líneas, página de códigos y órdenes
  dump                   escribe las líneas vivas, por fecha y hora si hay orden FECHA
                         [--from AAAA-MM-DD] [--to AAAA-MM-DD] [--csv | --json] [--hoja]
  check                  compara cada línea con el índice y lee todos sus campos
  repair                 arregla lo que quedó a medias y rehace el índice si hace falta
  reindex                rehace el índice
  pack                   quita las líneas borradas; nadie más puede tener la tabla abierta
  export FICHERO.csv     como dump --csv, a un fichero [--from] [--to] [--hoja]
                         [--hoja]: para una hoja de cálculo; los textos que empiezan como
                         una fórmula llevan delante un apóstrofo, y no sirve para import
  import FICHERO.csv     añade las líneas de un CSV cuya primera fila nombra los campos
  backup CARPETA         copia la tabla a otra carpeta sin que nadie escriba mientras tanto
  restore CARPETA        trae de otra carpeta una tabla que aquí no existe
  dia AAAA-MM-DD FICHERO.pdf       hoja de un día [--oficial NOMBRE]
  semana AAAA-MM-DD FICHERO.pdf    hoja de la semana de un día, de lunes a sábado
                         [--oficial NOMBRE]; el color de las salidas sale de
                         CONFIG/VARIOS.INI junto a la carpeta de la tabla

  red                    sin TABLA: prueba con dos programas si la carpeta sirve para que
                         trabajen en ella varios puestos; dice qué ha visto y deja todo
                         como estaba
                         [--espera]: el segundo programa será el de otro puesto, y dice
                         cómo llamarlo allí con --desde-otro-puesto

Opciones:
  --quiet                solo habla si algo va mal
  --help, --version

Termina con 0 si todo está bien, 1 si hay daños o no se ha podido hacer, 2 si la orden
está mal escrita y 3 si otro puesto está usando la tabla.
)";

struct Verb {
    std::string_view name;
    int (*work)(const Context &);
    bool onTable = true;
    bool writesLines = false; ///< its answer is the table's lines, for another program
};

constexpr std::array<Verb, 14> verbs{{{"create", createTable},
                                      {"info", showInfo},
                                      {"dump", dumpLines, true, true},
                                      {"check", checkTable},
                                      {"repair", repairTable},
                                      {"reindex", reindexTable},
                                      {"pack", packTable},
                                      {"export", exportLines},
                                      {"import", importLines},
                                      {"backup", backupTable},
                                      {"restore", restoreTable},
                                      {"dia", printDay},
                                      {"semana", printWeek},
                                      {"red", tryShare, false}}};

/// A text as a terminal may show it.
std::string shownName(const std::string &text)
{
    std::ostringstream out;
    PlainStream(out) << text;
    return out.str();
}

/// Every table below a folder, by name. Links are not followed, nor folders that hide; what lies in the
/// target is a copy.
dbase::Result<std::vector<std::filesystem::path>> tablesBelow(const std::filesystem::path &folder,
                                                              const std::filesystem::path &target)
{
    namespace fs = std::filesystem;
    std::vector<fs::path> tables;
    std::error_code fault;
    const auto broken = [&] {
        return dbase::Status(dbase::ErrorKind::inputOutput, "no se puede leer la carpeta: " + fault.message(),
                             pathText(folder));
    };
    for (fs::recursive_directory_iterator at(folder, fault);
         !fault && at != fs::recursive_directory_iterator(); at.increment(fault)) {
        const fs::path &path = at->path();
        std::error_code ignored;
        if (at->is_directory(ignored)) {
            if (pathText(path.filename()).starts_with('.') || fs::equivalent(path, target, ignored))
                at.disable_recursion_pending();
        } else if (at->is_regular_file(ignored) && upperAscii(pathText(path.extension())) == ".DBF") {
            tables.push_back(path);
        }
    }
    if (fault)
        return broken();
    if (tables.empty())
        return dbase::Status(dbase::ErrorKind::notFound, "no hay ninguna tabla en la carpeta",
                             pathText(folder));
    std::sort(tables.begin(), tables.end());
    return tables;
}

/// Does a verb on every table below its folder, whatever becomes of the one before.
int runOnAll(const Context &context, const Verb &verb)
{
    const auto tables = tablesBelow(context.args.folder, context.args.target);
    if (!tables.ok())
        return context.fail(tables.status());
    int worst = exitDone;
    for (const std::filesystem::path &table : tables.value()) {
        const auto below = table.parent_path().lexically_relative(context.args.folder);
        Arguments args = context.args;
        args.folder = table.parent_path();
        args.table = pathText(table.stem());
        const std::string name = pathText((below / table.stem()).lexically_normal());
        context.note(name + ':');
        int code = exitDone;
        if (!args.target.empty()) {
            args.target = (args.target / below).lexically_normal();
            std::error_code fault;
            std::filesystem::create_directories(args.target, fault);
            if (fault)
                code =
                    context.fail({dbase::ErrorKind::inputOutput,
                                  "no se puede crear la carpeta: " + fault.message(), pathText(args.target)});
        }
        if (code == exitDone)
            code = verb.work({args, context.answers, context.complaints, context.outIsTerminal,
                              context.patience, context.progress, context.program});
        if (code == exitDone)
            continue;
        context.err() << "agendatool: lo anterior es de " << name << '\n';
        worst = worst == exitDone || code == exitFailed ? code : worst;
    }
    return worst;
}

int carryOut(const std::vector<std::string> &words, std::ostream &out, std::ostream &raw, Terminals terminals,
             std::chrono::milliseconds patience, const std::filesystem::path &program)
{
    PlainStream err(raw);
    const auto parsed = parseArguments(words);
    if (!parsed.ok()) {
        err << "agendatool: " << parsed.status().text() << "\nPruebe agendatool --help\n";
        return exitUsage;
    }
    const Arguments &args = parsed.value();
    if (args.help) {
        out << helpText;
        return exitDone;
    }
    if (args.version) {
        out << "agendatool " AGENDATOOL_VERSION "\n";
        return exitDone;
    }
    const auto verb =
        std::find_if(verbs.begin(), verbs.end(), [&](const Verb &one) { return one.name == args.verb; });
    const bool onAll = verb->onTable && args.table.empty();
    // What is written for another program to read keeps its bytes.
    std::optional<PlainStream> shown;
    if (terminals.out || !verb->writesLines)
        shown.emplace(out);
    ProgressLine progress(raw, verb->onTable && !onAll ? shownName(upperAscii(args.table)) : args.verb,
                          terminals.err && !args.quiet);
    const Context context{args, shown ? *shown : out, err, terminals.out, patience, progress, program};
    if (onAll)
        return runOnAll(context, *verb);
    // A name that no table can have is a slip of the command line, not a fault of the folder.
    if (const dbase::Status named =
            verb->onTable ? dbase::findTable(args.folder, args.table).status() : dbase::Status();
        named.kind() == dbase::ErrorKind::invalidArgument) {
        static_cast<void>(context.fail(named));
        return exitUsage;
    }
    return verb->work(context);
}

} // namespace

int run(const std::vector<std::string> &words, std::ostream &out, std::ostream &err, Terminals terminals,
        std::chrono::milliseconds patience, const std::filesystem::path &program)
{
    try {
        return carryOut(words, out, err, terminals, patience, program);
    } catch (const std::bad_alloc &) {
        err << "agendatool: no hay memoria suficiente\n";
    } catch (const std::exception &error) {
        PlainStream(err) << "agendatool: no se ha podido terminar: " << error.what() << '\n';
    }
    return exitFailed;
}

} // namespace agendatool
