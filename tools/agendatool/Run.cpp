#include "tools/agendatool/Run.h"

#include "tools/agendatool/Text.h"
#include "tools/agendatool/Verbs.h"

#include <array>
#include <ostream>

namespace agendatool
{

namespace
{

constexpr std::string_view helpText =
    R"(Uso: agendatool ORDEN CARPETA TABLA [DESTINO u ORIGEN] [opciones]

Órdenes:
  create                 crea una tabla de agenda, vacía
  info                   campos, líneas, página de códigos y órdenes
  dump                   escribe las líneas vivas, por fecha y hora si hay orden FECHA
                         [--from AAAA-MM-DD] [--to AAAA-MM-DD] [--csv | --json]
  check                  compara cada línea con el índice y lee todos sus campos
  repair                 arregla lo que quedó a medias y rehace el índice si hace falta
  reindex                rehace el índice
  pack                   quita las líneas borradas; nadie más puede tener la tabla abierta
  export FICHERO.csv     como dump --csv, a un fichero [--from] [--to]
  import FICHERO.csv     añade las líneas de un CSV cuya primera fila nombra los campos
  backup CARPETA         copia la tabla a otra carpeta sin que nadie escriba mientras tanto
  restore CARPETA        trae de otra carpeta una tabla que aquí no existe
  dia AAAA-MM-DD FICHERO.pdf       hoja de un día [--oficial NOMBRE]
  semana AAAA-MM-DD FICHERO.pdf    hoja de la semana de un día, de lunes a sábado
                         [--oficial NOMBRE]; el color de las salidas sale de
                         CONFIG/VARIOS.INI junto a la carpeta de la tabla

Opciones:
  --quiet                solo habla si algo va mal
  --help, --version

Termina con 0 si todo está bien, 1 si hay daños o no se ha podido hacer, 2 si la orden
está mal escrita y 3 si otro puesto está usando la tabla.
)";

struct Verb {
    std::string_view name;
    int (*work)(const Context &);
};

constexpr std::array<Verb, 13> verbs{{{"create", createTable},
                                      {"info", showInfo},
                                      {"dump", dumpLines},
                                      {"check", checkTable},
                                      {"repair", repairTable},
                                      {"reindex", reindexTable},
                                      {"pack", packTable},
                                      {"export", exportLines},
                                      {"import", importLines},
                                      {"backup", backupTable},
                                      {"restore", restoreTable},
                                      {"dia", printDay},
                                      {"semana", printWeek}}};

} // namespace

int run(const std::vector<std::string> &words, std::ostream &out, std::ostream &err, Terminals terminals,
        std::chrono::milliseconds patience)
{
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
    ProgressLine progress(err, upperAscii(args.table), terminals.err && !args.quiet);
    const Context context{args, out, terminals.out, patience, progress};
    // A name that no table can have is a slip of the command line, not a fault of the folder.
    if (const auto named = dbase::findTable(args.folder, args.table);
        named.status().kind() == dbase::ErrorKind::invalidArgument) {
        static_cast<void>(context.fail(named.status()));
        return exitUsage;
    }
    for (const Verb &verb : verbs) {
        if (verb.name == args.verb)
            return verb.work(context);
    }
    return exitUsage;
}

} // namespace agendatool
