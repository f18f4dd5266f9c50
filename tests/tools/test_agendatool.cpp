// The verbs on real tables: what they write, what they refuse, and what the tables hold afterwards.

#include "dbase/Table.h"
#include "tests/support/EraseLine.h"
#include "tests/support/TempFolder.h"
#include "tools/agendatool/Run.h"

#include <gtest/gtest.h>

#include <sstream>

namespace
{

using namespace dbase;
using agendatool::exitBusy;
using agendatool::exitDone;
using agendatool::exitFailed;
using agendatool::exitUsage;
using support::readFile;
using support::writeFile;

const std::string header = "FECHA,HORA,CONCEPTO,CODCLIENTE,INTERESADO,OFICIAL,SALIDA,AVISO\r\n";

class AgendaTool : public testing::Test
{
protected:
    support::TempFolder temp;
    std::filesystem::path folder = temp.path() / "datos";
    std::filesystem::path other = temp.path() / "otra";
    std::filesystem::path file = folder / "AGENDA_N.DBF";
    std::filesystem::path csv = temp.path() / "lineas.csv";
    std::string out;
    std::string err;

    void SetUp() override
    {
        std::filesystem::create_directories(folder);
        std::filesystem::create_directories(other);
        ASSERT_EQ(tool("create"), exitDone) << err;
    }

    int words(const std::vector<std::string> &all)
    {
        std::ostringstream said;
        std::ostringstream complained;
        const int code = agendatool::run(all, said, complained, {}, std::chrono::milliseconds(30));
        out = said.str();
        err = complained.str();
        return code;
    }
    int tool(const std::string &verb, const std::vector<std::string> &more = {},
             const std::filesystem::path &where = {})
    {
        std::vector<std::string> all{verb, (where.empty() ? folder : where).string(), "agenda_n"};
        all.insert(all.end(), more.begin(), more.end());
        return words(all);
    }
    int import(const std::string &content)
    {
        writeFile(csv, content);
        return tool("import", {csv.string()});
    }
    std::unique_ptr<Table> open() const
    {
        OpenOptions options;
        options.lockTimeout = std::chrono::milliseconds(30);
        auto opened = Table::open(file, options);
        EXPECT_TRUE(opened.ok()) << opened.status().message();
        return std::move(opened).value();
    }
    /// The bytes of a line, past every layer of the tool.
    std::string line(RecordNumber number) const
    {
        const auto table = open();
        std::vector<std::uint8_t> record(table->recordLength());
        EXPECT_TRUE(table->read(number, record).ok());
        return {record.begin(), record.end()};
    }
    /// Changes bytes of a line behind everybody's back.
    void scribble(RecordNumber number, std::size_t at, const std::string &bytes) const
    {
        std::string content = readFile(file);
        const std::size_t start = 32 + 8 * 32 + 1 + (number - 1) * open()->recordLength();
        writeFile(file, content.replace(start + at, bytes.size(), bytes));
    }
    void fourLines()
    {
        ASSERT_EQ(import("FECHA,HORA,CONCEPTO\n2026-03-03,09:00,c\n2026-03-02,10:00,b\n"
                         "2026-03-02,09:00,a\n,,sin fecha\n2026-03-04,,d\n"),
                  exitDone)
            << err;
    }
};

TEST_F(AgendaTool, DumpsTheDaysOfARangeInOrder)
{
    fourLines();
    ASSERT_TRUE(support::eraseLine(*open(), 5).ok());
    const struct {
        std::vector<std::string> options;
        std::string concepts;
        std::string inFileOrder;
    } cases[] = {
        {{}, "sin fecha a b c ", "c b a sin fecha "},
        {{"--from", "2026-03-02", "--to", "2026-03-02"}, "a b ", "b a "},
        {{"--from", "2026-03-03"}, "c ", "c "},
        {{"--to", "2026-03-02"}, "a b ", "b a "},
        {{"--from", "2026-03-04"}, "", ""},
    };
    for (const bool indexed : {true, false}) {
        if (!indexed) { // another program has thrown the index away: order of the file, same days
            std::filesystem::remove(folder / "AGENDA_N.MDX");
            std::filesystem::remove(folder / "AGENDA_N.JNL");
        }
        for (const auto &c : cases) {
            ASSERT_EQ(tool("dump", c.options), exitDone) << err;
            std::istringstream lines(out);
            std::string found;
            std::string row;
            for (std::getline(lines, row); std::getline(lines, row);) {
                std::istringstream cells(row);
                for (int i = 0; i < 3; ++i)
                    std::getline(cells, row, ',');
                found += row + ' ';
            }
            EXPECT_EQ(found, indexed ? c.concepts : c.inFileOrder);
        }
    }
}

TEST_F(AgendaTool, WritesCsvAndJsonThatOthersCanRead)
{
    ASSERT_EQ(
        import("\xEF\xBB\xBF" + // as spreadsheets write it
               std::string("concepto,codcliente,fecha\n\"dijo \"\"sí\"\", y\\ firmó\",-12.5,2026-03-02\n"
                           "Peña € Muñoz,900719925474093.1234,\n\" x\",,\n")),
        exitDone)
        << err;
    scribble(3, 1 + 8 + 5, "a\nb\x01");
    ASSERT_EQ(tool("dump"), exitDone) << err;
    EXPECT_EQ(out, header + ",,Peña € Muñoz,900719925474093.1234,,,,\r\n" + ",,\"a\nb\x01\",,,,,\r\n" +
                       "2026-03-02,,\"dijo \"\"sí\"\", y\\ firmó\",-12.5000,,,,\r\n");
    ASSERT_EQ(tool("dump", {"--json"}), exitDone) << err;
    const std::string rest = ", \"INTERESADO\": \"\", \"OFICIAL\": \"\", \"SALIDA\": \"\", \"AVISO\": \"\"}";
    EXPECT_EQ(out,
              "[\n{\"FECHA\": null, \"HORA\": \"\", \"CONCEPTO\": \"Peña € Muñoz\", \"CODCLIENTE\": "
              "900719925474093.1234" +
                  rest +
                  ",\n{\"FECHA\": null, \"HORA\": \"\", \"CONCEPTO\": \"a\\nb\\u0001\", \"CODCLIENTE\": "
                  "null" +
                  rest +
                  ",\n{\"FECHA\": \"2026-03-02\", \"HORA\": \"\", \"CONCEPTO\": \"dijo \\\"sí\\\", y\\\\ "
                  "firmó\", \"CODCLIENTE\": -12.5000" +
                  rest + "\n]\n");
}

TEST_F(AgendaTool, ABadImportChangesNothing)
{
    fourLines();
    const std::string before = readFile(file);
    const std::string top = "FECHA,HORA,CODCLIENTE\n2026-03-02,09:00,1\n";
    const struct {
        std::string content;
        const char *place;
    } cases[] = {
        {"", "línea 1:"},
        {"FECHA,NADA\n", "línea 1:"},
        {"FECHA,fecha\n", "línea 1:"},
        {top + "2026-02-29,09:00,1\n", "línea 3:"},
        {top + "02/03/2026,09:00,1\n", "línea 3:"},
        {top + "\n2026-03-02,09:00:00,1\n", "línea 4:"},
        {top + "2026-03-02,09:00,12a\n", "línea 3:"},
        {top + "2026-03-02,09:00,1e5\n", "línea 3:"},
        {top + "2026-03-02,09:00,0.00001\n", "línea 3:"},
        {top + "2026-03-02,09:00,1234567890123456\n", "línea 3:"}, // 21 places with its decimals
        {top + "2026-03-02,09:00\n", "línea 3:"},
        {top + "2026-03-02,09:00,1,1\n", "línea 3:"},
        {top + "2026-03-02,\"09:00,1\n\n\n", "línea 3:"},
        {top + "2026-03-02,\"09\":00,1\n", "línea 3:"},
        {top + "2026-03-02,a\"b,1\n", "línea 3:"},
        {top + "2026-03-02,\xF1,1\n", "línea 3:"},     // not UTF-8
        {top + "2026-03-02,\xC0\xAF,1\n", "línea 3:"}, // a slash in disguise
        {top + "2026-03-02,ж,1\n", "línea 3:"},        // not in the table's code page
        {top + "2026-03-02,\"a\nb\",1\n", "línea 3:"}, // no control characters
        {"HORA,FECHA\n\"a\r\nb\",\nc,2026-1-1\n", "línea 2:"},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(import(c.content), exitFailed) << c.content;
        EXPECT_NE(err.find(c.place), std::string::npos) << c.content << err;
        EXPECT_EQ(readFile(file), before) << c.content;
    }
    EXPECT_EQ(tool("import", {(folder / "no.csv").string()}), exitFailed);
}

TEST_F(AgendaTool, AnExportComesBackAsTheSameLines)
{
    // More than one group of lines, texts up to the last byte, and every sign that needs care.
    std::string content = header;
    for (int i = 0; i < 1203; ++i)
        content += "2026-0" + std::to_string(1 + i % 9) + "-1" + std::to_string(i % 10) + ",09:30,\"" +
                   std::string(250, static_cast<char>('a' + i % 26)) + "\"\",ñ\"," + std::to_string(i) +
                   ".0001,\"  Ávila, Íñigo\",ofi,S,N\n";
    ASSERT_EQ(import(content), exitDone) << err;
    ASSERT_EQ(open()->recordCount(), 1203U);
    writeFile(csv, "lo de ayer"); // an export takes the place of the last one
    ASSERT_EQ(tool("export", {csv.string()}), exitDone) << err;
    const std::string first = readFile(csv);
    EXPECT_FALSE(std::filesystem::exists(csv.string() + ".tmp"));

    ASSERT_EQ(tool("create", {}, other), exitDone) << err;
    ASSERT_EQ(tool("import", {csv.string()}, other), exitDone) << err;
    ASSERT_EQ(tool("check", {}, other), exitDone) << err;
    ASSERT_EQ(tool("dump", {}, other), exitDone);
    EXPECT_EQ(out, first);
    EXPECT_EQ(line(1203).substr(1, 13), "2026061209:30");
    file = other / "AGENDA_N.DBF"; // the lines themselves, not only how they are shown
    EXPECT_EQ(line(1).substr(1 + 8 + 5, 256), std::string(250, 'a') + "\",\xF1   ");
    EXPECT_EQ(line(1).substr(1 + 8 + 5 + 254, 20), "              0.0001");

    EXPECT_EQ(tool("export", {file.string()}), exitUsage) << "an export never takes the place of a table";
    EXPECT_EQ(open()->recordCount(), 1203U);
}

// Cells that begin as a formula are one to a spreadsheet, unless it is told otherwise.
TEST_F(AgendaTool, ForASpreadsheetATextIsNeverAFormula)
{
    ASSERT_EQ(import("CONCEPTO,CODCLIENTE,INTERESADO\n=1+1,-5,-Ana\n+34,,@x\nnormal,7,a=b\n"), exitDone)
        << err;
    const std::string rest = ",,,\r\n";
    ASSERT_EQ(tool("dump", {"--hoja"}), exitDone) << err;
    EXPECT_NE(out.find(",,'=1+1,-5.0000,'-Ana" + rest), std::string::npos) << out;
    EXPECT_NE(out.find(",,'+34,,'@x" + rest), std::string::npos) << out;
    EXPECT_NE(out.find(",,normal,7.0000,a=b" + rest), std::string::npos) << out;
    ASSERT_EQ(tool("export", {csv.string(), "--hoja"}), exitDone) << err;
    ASSERT_EQ(tool("dump", {"--hoja"}), exitDone) << err;
    EXPECT_EQ(readFile(csv), out);
    scribble(1, 1 + 8 + 5 + 254, "=2+2"); // in a number's place
    ASSERT_EQ(tool("dump", {"--hoja"}), exitDone) << err;
    EXPECT_NE(out.find(",'=2+2"), std::string::npos) << out;
}

// A foreseeable name may be anybody's: nothing is written through it.
TEST_F(AgendaTool, AnExportGoesNowhereElse)
{
    fourLines();
    const auto theirs = temp.path() / "ajeno";
    const auto target = other / "salida.csv";
    writeFile(theirs, "de otro");
    std::filesystem::create_symlink(theirs, other / "salida.csv.tmp");
    std::filesystem::create_symlink(theirs, target);
    ASSERT_EQ(tool("export", {target.string()}), exitDone) << err;
    EXPECT_EQ(readFile(theirs), "de otro");
    EXPECT_FALSE(std::filesystem::is_symlink(target));
    EXPECT_EQ(readFile(target).substr(0, header.size()), header);
    std::filesystem::create_directories(other / "lleno.csv.tmp" / "algo");
    EXPECT_EQ(tool("export", {(other / "lleno.csv").string()}), exitFailed);
    EXPECT_FALSE(std::filesystem::exists(other / "lleno.csv"));
}

// What a file says of itself costs no more than it can be worth.
TEST_F(AgendaTool, AnImportReadsLineByLine)
{
    const std::string top = "CONCEPTO,HORA\n";
    const struct {
        std::string content;
        const char *why;
    } cases[] = {
        {std::string(3'000'000, ','), "línea 1: tiene más de 8 valores"},
        {top + "a,b,c,d,e,f,g,h,i\n", "línea 2: tiene más de 8 valores"},
        {top + std::string(1'100'000, 'x'), "línea 2: es demasiado larga"},
        {top + '"' + std::string(1'100'000, '\n'), "es demasiado larga"},
        {top + std::string(1'100'000, '\0'), "línea 2: es demasiado larga"},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(import(c.content), exitFailed) << c.why;
        EXPECT_NE(err.find(c.why), std::string::npos) << err;
        EXPECT_EQ(open()->recordCount(), 0U);
    }
    EXPECT_EQ(tool("import", {folder.string()}), exitFailed) << "a folder";
    EXPECT_EQ(import(top + std::string(100'000, '\n') + "a,09:00\n"), exitDone) << err;
    EXPECT_EQ(open()->recordCount(), 1U);
}

TEST_F(AgendaTool, SaysWhenOthersHaveTheTable)
{
    fourLines();
    writeFile(csv, "CONCEPTO\nuna\n");
    const std::string before = readFile(file);
    const auto theirs = open();
    EXPECT_EQ(tool("pack"), exitBusy) << err;
    ASSERT_TRUE(theirs->beginGroup().ok());
    for (const char *verb : {"import", "backup", "reindex"}) {
        std::vector<std::string> target;
        if (std::string(verb) == "import")
            target = {csv.string()};
        if (std::string(verb) == "backup")
            target = {other.string()};
        EXPECT_EQ(tool(verb, target), exitBusy) << verb << ": " << err;
    }
    for (const char *verb : {"check", "dump"}) // who only reads is let in, to the table as it was before
        EXPECT_EQ(tool(verb), exitDone) << verb << ": " << err;
    EXPECT_TRUE(std::filesystem::is_empty(other));
    EXPECT_EQ(readFile(file), before);
    theirs->dropGroup();
    EXPECT_EQ(tool("import", {csv.string()}), exitDone) << "open, but not written to: " << err;
}

TEST_F(AgendaTool, PackDropsTheDeletedLines)
{
    fourLines();
    ASSERT_TRUE(support::eraseLine(*open(), 1).ok());
    ASSERT_EQ(tool("info"), exitDone);
    EXPECT_NE(out.find("5 (4 vivas, 1 borradas)"), std::string::npos) << out;
    ASSERT_EQ(tool("dump"), exitDone);
    const std::string before = out;
    ASSERT_EQ(tool("pack"), exitDone) << err;
    EXPECT_EQ(open()->recordCount(), 4U);
    ASSERT_EQ(tool("dump"), exitDone);
    EXPECT_EQ(out, before);
    EXPECT_EQ(tool("check"), exitDone) << err;
}

TEST_F(AgendaTool, FindsDamage)
{
    fourLines();
    ASSERT_EQ(tool("check"), exitDone) << err;
    const std::string good = readFile(file);

    scribble(2, 1, "2026XX02");
    EXPECT_EQ(tool("check"), exitFailed);
    EXPECT_NE(err.find("línea 2: el campo FECHA"), std::string::npos) << err;
    EXPECT_EQ(tool("repair"), exitFailed) << "nobody but a clerk knows the right date";
    ASSERT_EQ(tool("dump"), exitDone);
    EXPECT_NE(out.find("2026XX02"), std::string::npos) << "what cannot be read is shown as it stands";

    ASSERT_TRUE(support::eraseLine(*open(), 2).ok());
    EXPECT_EQ(tool("check"), exitDone) << "a deleted line harms nobody: " << err;

    writeFile(file, good.substr(0, good.size() - 500));
    EXPECT_EQ(tool("check"), exitFailed);
    EXPECT_EQ(tool("dump"), exitFailed);
    EXPECT_EQ(readFile(file), good.substr(0, good.size() - 500));
}

TEST_F(AgendaTool, NothingOfATableSpeaksToTheTerminal)
{
    fourLines();
    scribble(1, 1, "2026\x1b[2J");
    scribble(2, 1 + 8 + 5, "a\x9b\x07\x7f\r!");
    const auto isPlain = [](const std::string &text) {
        for (std::size_t i = 0; i < text.size(); ++i) {
            const auto byte = static_cast<unsigned char>(text[i]);
            const bool lineEnd = byte == '\n' || (byte == '\r' && i + 1 < text.size() && text[i + 1] == '\n');
            const bool c1 =
                byte == 0xC2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) < 0xA0;
            if ((byte < 0x20 && !lineEnd) || byte == 0x7F || c1)
                return false;
        }
        return true;
    };
    for (const auto &all : std::vector<std::vector<std::string>>{
             {"check", folder.string(), "AGENDA_N"},
             {"dump", folder.string(), "AGENDA_N"},
             {"dump", folder.string(), "AGENDA_N", "--json"},
             {"info", folder.string(), "AGENDA\x1b[2J"},
             {"\x1b[2J", folder.string(), "AGENDA_N"},
             {"info", (temp.path() / "\xc2\x9b"
                                     "2J")
                          .string()},
             {"import", folder.string(), "AGENDA_N", (temp.path() / "\x07.csv").string()},
         }) {
        std::ostringstream said;
        std::ostringstream complained;
        agendatool::run(all, said, complained, {true, false}, std::chrono::milliseconds(30));
        EXPECT_TRUE(isPlain(said.str())) << said.str();
        EXPECT_TRUE(isPlain(complained.str())) << complained.str();
    }
    ASSERT_EQ(tool("dump"), exitDone);
    EXPECT_NE(out.find("\x1b[2J"), std::string::npos) << "to a program, which wants the bytes";
}

TEST_F(AgendaTool, FindsAndMendsAWrongIndex)
{
    fourLines();
    const auto index = folder / "AGENDA_N.MDX";
    {
        // While somebody has the table open nobody is alone to repair it in passing.
        const auto theirs = open();
        std::string bytes = readFile(index);
        const auto key = bytes.find("2026030309:00");
        ASSERT_NE(key, std::string::npos);
        writeFile(index, bytes.replace(key, 8, "20260101"));
        EXPECT_EQ(tool("check"), exitFailed);
        EXPECT_NE(err.find("FECHA"), std::string::npos) << err;
        EXPECT_EQ(tool("repair"), exitDone) << err;
        EXPECT_EQ(tool("check"), exitDone) << err;
    }
    writeFile(index, "no es un índice");
    EXPECT_EQ(tool("check"), exitFailed) << "an index that cannot be read has not been compared";
    EXPECT_EQ(tool("repair"), exitDone) << err;
    EXPECT_EQ(tool("check"), exitDone) << err;
    EXPECT_NE(readFile(index).find("2026030309:00"), std::string::npos);
}

TEST_F(AgendaTool, ABackupComesBack)
{
    fourLines();
    ASSERT_TRUE(support::eraseLine(*open(), 1).ok());
    ASSERT_EQ(tool("dump"), exitDone);
    const std::string lines = out;
    const auto theirs = open(); // a backup is made while others work
    ASSERT_EQ(tool("backup", {other.string()}), exitDone) << err;
    EXPECT_EQ(readFile(other / "AGENDA_N.DBF"), readFile(file));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(other), {}), 1) << "the table alone";
    EXPECT_EQ(tool("backup", {other.string()}), exitFailed) << "never over another one";
    EXPECT_EQ(tool("restore", {other.string()}), exitFailed) << "never over a table";

    const auto fresh = temp.path() / "nueva";
    std::filesystem::create_directories(fresh);
    ASSERT_EQ(tool("restore", {other.string()}, fresh), exitDone) << err;
    ASSERT_EQ(tool("dump", {}, fresh), exitDone);
    EXPECT_EQ(out, lines) << "in order, so the index is there";
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(other), {}), 1) << "the copy is untouched";

    // The journal of the lost table would write its last changes into the old one.
    std::filesystem::remove(fresh / "AGENDA_N.DBF");
    EXPECT_EQ(tool("restore", {other.string()}, fresh), exitFailed);
    EXPECT_NE(err.find("AGENDA_N.JNL"), std::string::npos) << err;
    EXPECT_EQ(tool("create", {}, fresh), exitFailed);
    EXPECT_FALSE(std::filesystem::exists(fresh / "AGENDA_N.DBF"));

    std::filesystem::resize_file(other / "AGENDA_N.DBF", 600);
    std::filesystem::remove(fresh / "AGENDA_N.JNL");
    EXPECT_EQ(tool("restore", {other.string()}, fresh), exitFailed) << "a damaged copy is not brought in";
    EXPECT_FALSE(std::filesystem::exists(fresh / "AGENDA_N.DBF"));
}

TEST_F(AgendaTool, RefusesACommandLineThatMakesNoSense)
{
    const std::string here = folder.string();
    const std::vector<std::string> cases[] = {
        {},
        {"dump"},
        {"dump", here},
        {"dump", here, "AGENDA_N", "more"},
        {"destroy", here, "AGENDA_N"},
        {"export", here, "AGENDA_N"},
        {"dump", here, "AGENDA_N", "--from"},
        {"dump", here, "AGENDA_N", "--from", "2026-02-30"},
        {"dump", here, "AGENDA_N", "--from", "2026-02-02", "--to", "2026-02-01"},
        {"dump", here, "AGENDA_N", "--csv", "--json"},
        {"check", here, "AGENDA_N", "--json"},
        {"dump", here, "AGENDA_N", "--otra"},
        {"dump", here, "../AGENDA_N"},
        {"create", here, "CON"},
        {"backup", here, "../datos/AGENDA_N", other.string()},
        {"red"},
        {"red", here, "AGENDA_N"},
        {"red", here, "--csv"},
        {"red", here, "--desde-otro-puesto"},
        {"red", here, "--desde-otro-puesto", "datos"},
        {"red", here, "--desde-otro-puesto", "prueba-red-../../otra"},
        {"red", here, "--desde-otro-puesto", "prueba-red-abc", "--espera"},
        {"dump", here, "AGENDA_N", "--espera"},
        {"dump", here, "AGENDA_N", "--desde-otro-puesto", "prueba-red-abc"},
    };
    for (const auto &all : cases) {
        EXPECT_EQ(words(all), exitUsage) << testing::PrintToString(all);
        EXPECT_FALSE(err.empty());
        EXPECT_TRUE(out.empty());
    }
    EXPECT_EQ(words({"dump", here, "OTRA"}), exitFailed);
    EXPECT_EQ(tool("create"), exitFailed) << "the table is there already";
    EXPECT_EQ(words({"--help"}), exitDone);
    EXPECT_EQ(tool("check", {"--quiet"}), exitDone);
    EXPECT_EQ(out, "");
}

// An office is a folder of folders; one order looks after all of it.
TEST_F(AgendaTool, WithoutATableEveryOneBelowTheFolderIsTaken)
{
    const auto office = temp.path() / "oficina";
    const auto copies = office / "copias";
    for (const char *const name : {"NOTARIO1", "NOTARIO2", ".aparte"}) {
        std::filesystem::create_directories(office / name);
        ASSERT_EQ(tool("create", {}, office / name), exitDone) << err;
    }
    std::filesystem::rename(office / "NOTARIO2" / "AGENDA_N.DBF", office / "NOTARIO2" / "agenda_n.dbf");
    EXPECT_EQ(words({"check", office.string()}), exitDone) << err;
    EXPECT_NE(out.find("NOTARIO1/AGENDA_N:\nLa tabla está bien: 0 líneas"), std::string::npos) << out;
    EXPECT_NE(out.find("NOTARIO2/agenda_n:\nLa tabla está bien"), std::string::npos) << out;
    EXPECT_EQ(out.find("aparte"), std::string::npos) << out;
    EXPECT_EQ(words({"--quiet", "info", office.string()}), exitDone);
    EXPECT_EQ(words({"backup", office.string(), copies.string()}), exitDone) << err;
    EXPECT_TRUE(std::filesystem::exists(copies / "NOTARIO1" / "AGENDA_N.DBF"));
    EXPECT_FALSE(std::filesystem::exists(copies / "copias"));
    EXPECT_EQ(words({"backup", office.string(), copies.string()}), exitFailed)
        << "copies are not written over";
    // One that is damaged is named, and the others are looked at all the same.
    writeFile(office / "NOTARIO1" / "AGENDA_N.DBF", "no es una tabla");
    EXPECT_EQ(words({"--quiet", "check", office.string()}), exitFailed);
    EXPECT_NE(err.find("agendatool: lo anterior es de NOTARIO1/AGENDA_N\n"), std::string::npos) << err;
    EXPECT_EQ(out, "");
    EXPECT_EQ(words({"repair", office.string()}), exitFailed);
    EXPECT_NE(out.find("NOTARIO2/agenda_n:\nLa tabla está bien"), std::string::npos) << out;
    EXPECT_EQ(words({"check", other.string()}), exitFailed) << "nothing to look at is no good news";
    EXPECT_EQ(words({"check", (office / "nada").string()}), exitFailed);
    EXPECT_EQ(words({"pack", office.string()}), exitUsage);
    EXPECT_EQ(words({"check"}), exitUsage);
}

} // namespace
