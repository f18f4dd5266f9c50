// The settings file that other programs share: what is not ours stays, byte for byte.

#include "agenda/FicheroIni.h"
#include "dataset/DatabaseError.h"
#include "tests/support/TempFolder.h"

#include <functional>
#include <random>
#include <thread>
#include <tuple>

#ifdef __linux__

#include <cerrno>
#include <optional>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{

enum class Lectura { entera, conError, cortada };

/// How the reads of one file go.
struct LecturasPlaneadas {
    ino_t fichero = 0;
    Lectura como = Lectura::entera;
    int veces = 0; ///< so many reads go wrong, those behind them well
};
LecturasPlaneadas lecturas;

} // namespace

// In place of the system's call for every library of this program: a file that opens and cannot be read is
// made by a share whose server has gone, which no folder of a test is.
extern "C" [[gnu::visibility("default")]] ssize_t read(int fichero, void *donde, size_t cuantos)
{
    struct stat estado = {};
    if (lecturas.veces > 0 && fstat(fichero, &estado) == 0 && estado.st_ino == lecturas.fichero) {
        --lecturas.veces;
        if (lecturas.como == Lectura::cortada)
            return 0;
        errno = EIO;
        return -1;
    }
    return syscall(SYS_read, fichero, donde, cuantos);
}

#endif

namespace
{

using support::readFile;
using support::TempFolder;
using support::writeFile;

// Comments, order, blanks, repeated keys and sections, 1252 accents, a line without "=", no end of the last
// line.
const QByteArray Rara = "; de otra casa \xF1\r\n"
                        "\r\n"
                        "[GENERAL]\r\n"
                        "Ruta=C:\\DATOS\\NUEVO\\x41\r\n"
                        "Lista=a, b; c\r\n"
                        "  clave con blancos =  \"  entre comillas  \" \r\n"
                        "l\xEDnea sin igual\r\n"
                        "[color]\r\n"
                        "  agendasalida = $00123456\r\n"
                        "AGENDASALIDA=clRed\r\n"
                        ";AGENDASALIDA=comentada\r\n"
                        "\r\n"
                        "[COLOR]\r\n"
                        "OTRO=1\r\n"
                        "[VAC\xCD"
                        "A]\r\n"
                        "[FIN]\r\n"
                        "ultima=1";

TEST(FicheroIni, ReadsTheFirstOfRepeatedNamesInAnyCase)
{
    const struct {
        const char *seccion;
        const char *clave;
        const char *valor; // null: missing
    } casos[] = {
        {"general", "RUTA", "C:\\DATOS\\NUEVO\\x41"},
        {"GENERAL", "lista", "a, b; c"},
        {"General", "Clave Con Blancos", "  entre comillas  "},
        {"COLOR", "AgendaSalida", "$00123456"},
        {"COLOR", "OTRO", nullptr}, // the first of two sections of that name counts
        {"FIN", "ultima", "1"},
        {"FIN", "nada", nullptr},
        {"NADA", "ultima", nullptr},
        {"GENERAL", "línea sin igual", nullptr},
    };
    for (const auto &caso : casos) {
        const auto valor = ValorEn(Rara, caso.seccion, caso.clave);
        EXPECT_EQ(valor.has_value(), caso.valor != nullptr) << caso.clave;
        EXPECT_EQ(valor.value_or(""), caso.valor ? caso.valor : "") << caso.clave;
    }
}

TEST(FicheroIni, ChangesOnlyTheBytesOfItsValue)
{
    const auto cambiada = [](const QByteArray &antes, const QByteArray &despues) {
        return QByteArray(Rara).replace(antes, despues);
    };
    const struct {
        const char *seccion;
        const char *clave;
        const char *valor;
        QByteArray contenido;
    } casos[] = {
        {"COLOR", "AGENDASALIDA", "clBlue", cambiada("agendasalida = $00123456", "agendasalida =clBlue")},
        {"GENERAL", "nueva", "señal",
         cambiada("sin igual\r\n", "sin igual\r\nnueva=se\xF1"
                                   "al\r\n")},
        {"color", "nueva", "1",
         cambiada(";AGENDASALIDA=comentada\r\n", ";AGENDASALIDA=comentada\r\nnueva=1\r\n")},
        {"vacía", "x", "1", cambiada("[FIN]", "x=1\r\n[FIN]")},
        {"FIN", "otra", "2", Rara + "\r\notra=2\r\n"},
        {"IncrementoMin", "AGENDASALIDA", "15", Rara + "\r\n[IncrementoMin]\r\nAGENDASALIDA=15\r\n"},
        {"FIN", "ultima", " a ", cambiada("ultima=1", "ultima=\" a \"")},
        {"FIN", "ultima", "dos\nlíneas", cambiada("ultima=1", "ultima=dos l\xEDneas")},
    };
    for (const auto &caso : casos) {
        const QByteArray nuevo = ConValor(Rara, caso.seccion, caso.clave, caso.valor);
        EXPECT_EQ(nuevo, caso.contenido) << caso.clave;
        EXPECT_EQ(ConValor(nuevo, caso.seccion, caso.clave, caso.valor), nuevo)
            << "setting twice changes nothing";
    }
    EXPECT_EQ(ConValor({}, "S", "k", "v"), "[S]\r\nk=v\r\n");
    EXPECT_EQ(ConValor("[S]\nz=1\n", "S", "k", "v"), "[S]\nz=1\nk=v\n") << "the file's own line ends";
}

// Whatever the file holds and whatever is set: it is read back, and no other key changes.
TEST(FicheroIni, WhatIsSetIsReadBack)
{
    std::mt19937 azar(11);
    const QByteArray letras = "[]=;\"' \r\n\tabcAB1$\xF1\xE1";
    for (int vez = 0; vez < 3000; ++vez) {
        QByteArray contenido;
        for (auto n = azar() % 80; n > 0; --n)
            contenido.append(letras[qsizetype(azar() % std::size_t(letras.size()))]);
        QString valor;
        for (auto n = azar() % 8; n > 0; --n)
            valor.append(QString::fromUtf8("ab ñ\"'=;[]").at(qsizetype(azar() % 10)));
        const auto testigo = ValorEn(contenido, "a", "b");
        const QByteArray nuevo = ConValor(contenido, "Sección", "clave", valor);
        ASSERT_EQ(ValorEn(nuevo, "SECCIÓN", "CLAVE"), valor) << contenido.toStdString();
        ASSERT_EQ(ValorEn(nuevo, "a", "b"), testigo);
        ASSERT_EQ(ConValor(nuevo, "Sección", "clave", valor), nuevo);
    }
}

TEST(FicheroIni, FindsTheFileInAnyCaseAndMakesItWhenMissing)
{
    const TempFolder carpeta;
    const QString ruta = QString::fromStdString((carpeta.path() / "CONFIG" / "VARIOS.INI").string());
    TFicheroIni fichero(ruta);
    EXPECT_FALSE(fichero.Lee("A", "b"));
    EXPECT_EQ(fichero.LeeEntero("A", "b", 7), 7);
    fichero.EscribeEntero("A", "b", 15);
    EXPECT_EQ(readFile(carpeta.path() / "CONFIG" / "VARIOS.INI"), "[A]\r\nb=15\r\n");
    std::filesystem::rename(carpeta.path() / "CONFIG", carpeta.path() / "Config");
    std::filesystem::rename(carpeta.path() / "Config" / "VARIOS.INI",
                            carpeta.path() / "Config" / "varios.ini");
    TFicheroIni otro(ruta);
    EXPECT_EQ(otro.LeeEntero("a", "B", 7), 15);
    otro.EscribeLogico("A", "c", false);
    EXPECT_EQ(readFile(carpeta.path() / "Config" / "varios.ini"), "[A]\r\nb=15\r\nc=0\r\n");
    EXPECT_FALSE(otro.LeeLogico("A", "c", true));
    writeFile(carpeta.path() / "Config" / "varios.ini", "[A]\r\nb=quince\r\nc=$10\r\n");
    EXPECT_EQ(otro.LeeEntero("A", "b", 7), 7);
    EXPECT_EQ(otro.LeeEntero("A", "c", 7), 16);
}

TEST(FicheroIni, TwoWorkstationsKeepEachOthersValues)
{
    const TempFolder carpeta;
    std::filesystem::create_directories(carpeta.path() / "CONFIG");
    const QString ruta = QString::fromStdString((carpeta.path() / "CONFIG" / "VARIOS.INI").string());
    const auto escribe = [&](const QString &clave) {
        for (int n = 1; n <= 25; ++n)
            TFicheroIni(ruta).EscribeEntero("S", clave + QString::number(n), n);
    };
    std::thread uno([&] { escribe("a"); });
    std::thread dos([&] { escribe("b"); });
    uno.join();
    dos.join();
    const TFicheroIni fichero(ruta);
    for (int n = 1; n <= 25; ++n) {
        EXPECT_EQ(fichero.LeeEntero("S", QString("a%1").arg(n), 0), n);
        EXPECT_EQ(fichero.LeeEntero("S", QString("b%1").arg(n), 0), n);
    }
}

TEST(FicheroIni, SaysWhenItCannotWrite)
{
    const TempFolder carpeta;
    writeFile(carpeta.path() / "CONFIG", "no es una carpeta");
    TFicheroIni fichero(QString::fromStdString((carpeta.path() / "CONFIG" / "VARIOS.INI").string()));
    EXPECT_THROW(fichero.EscribeEntero("A", "b", 1), dataset::EDatabaseError);
    EXPECT_EQ(readFile(carpeta.path() / "CONFIG"), "no es una carpeta");
}

#ifdef __linux__

TEST(FicheroIni, AFileThatCannotBeReadWholeIsNeverWritten)
{
    const TempFolder carpeta;
    const auto sitio = carpeta.path() / "VARIOS.INI";
    const auto lee = [&] {
        return TFicheroIni(QString::fromStdString(sitio.string())).LeeEntero("A", "b", 7);
    };
    const auto escribe = [&] {
        TFicheroIni(QString::fromStdString(sitio.string())).EscribeEntero("A", "b", 2);
    };
    const struct {
        Lectura como;
        const char *causa;
    } casos[] = {{Lectura::conError, "no se puede leer: "}, {Lectura::cortada, "antes de tiempo"}};
    for (const auto &caso : casos) {
        writeFile(sitio, "[A]\r\nb=1\r\n[OTRA]\r\nc=3\r\n");
        struct stat estado = {};
        ASSERT_EQ(stat(sitio.c_str(), &estado), 0);
        for (const std::function<void()> &trabajo :
             {std::function<void()>(escribe), std::function<void()>([&] { lee(); })}) {
            lecturas = {estado.st_ino, caso.como, 1'000'000};
            try {
                trabajo();
                ADD_FAILURE() << "taken for an empty file";
            } catch (const dataset::EDatabaseError &error) {
                EXPECT_NE(std::string(error.what()).find(caso.causa), std::string::npos) << error.what();
            }
            lecturas = {};
            EXPECT_EQ(readFile(sitio), "[A]\r\nb=1\r\n[OTRA]\r\nc=3\r\n");
        }
        // Another program was in the middle of writing it: that passes.
        lecturas = {estado.st_ino, caso.como, 2};
        EXPECT_EQ(lee(), 1);
        EXPECT_EQ(lecturas.veces, 0);
        lecturas = {estado.st_ino, caso.como, 2};
        escribe();
        EXPECT_EQ(readFile(sitio), "[A]\r\nb=2\r\n[OTRA]\r\nc=3\r\n");
        lecturas = {};
    }
}

// What lies under the file's name, or under its lock's, may be anybody's: nothing is read or written through
// it, and nobody is kept waiting.
TEST(FicheroIni, WhatIsNoPlainFileIsRefused)
{
    const TempFolder carpeta;
    const auto ajena = carpeta.path() / "ajena";
    const std::string suya = "[A]\r\nb=1\r\n";
    const struct {
        const char *que;
        std::function<void(const std::filesystem::path &)> pon;
    } clases[] = {
        {"enlace", [&](const auto &sitio) { std::filesystem::create_symlink(ajena, sitio); }},
        {"enlace a nada",
         [&](const auto &sitio) { std::filesystem::create_symlink(carpeta.path() / "nada", sitio); }},
        {"tubería", [](const auto &sitio) { ASSERT_EQ(mkfifo(sitio.c_str(), 0600), 0); }},
        {"carpeta", [](const auto &sitio) { std::filesystem::create_directory(sitio); }},
    };
    for (const char *const nombre : {"oficina.ini", "oficina.ini.lck"}) {
        const bool esCerrojo = std::string(nombre).ends_with(".lck");
        for (const auto &clase : clases) {
            writeFile(ajena, suya);
            const auto sitio = carpeta.path() / "oficina.ini";
            std::filesystem::remove(sitio);
            if (esCerrojo)
                writeFile(sitio, suya);
            clase.pon(carpeta.path() / nombre);
            TFicheroIni fichero(QString::fromStdString(sitio.string()));
            EXPECT_THROW(fichero.EscribeEntero("A", "b", 2), dataset::EDatabaseError)
                << nombre << " " << clase.que;
            if (esCerrojo)
                EXPECT_EQ(fichero.LeeEntero("A", "b", 0), 1) << clase.que;
            else
                EXPECT_THROW(std::ignore = fichero.LeeEntero("A", "b", 0), dataset::EDatabaseError)
                    << clase.que;
            EXPECT_EQ(readFile(ajena), suya) << nombre << " " << clase.que;
            EXPECT_FALSE(std::filesystem::exists(carpeta.path() / "nada"));
            std::filesystem::remove(carpeta.path() / nombre);
        }
    }
}

TEST(FicheroIni, AFileTooLargeForSettingsIsRefusedWithItsSize)
{
    const TempFolder carpeta;
    const auto sitio = carpeta.path() / "oficina.ini";
    writeFile(sitio, "[A]\r\nb=1\r\n");
    const TFicheroIni fichero(QString::fromStdString(sitio.string()));
    std::filesystem::resize_file(sitio, TFicheroIni::MaxBytes);
    EXPECT_EQ(fichero.LeeEntero("A", "b", 0), 1);
    std::filesystem::resize_file(sitio, std::uintmax_t{1} << 40U);
    try {
        static_cast<void>(fichero.Lee("A", "b"));
        ADD_FAILURE() << "a file of 1 TiB was read";
    } catch (const dataset::EDatabaseError &error) {
        EXPECT_NE(std::string(error.what()).find("ocupa 1048576 MiB"), std::string::npos) << error.what();
    }
}

// A name that leads to itself stands for all that cannot be looked at, as on a share that has gone away.
TEST(FicheroIni, AFileThatCannotBeLookedAtIsNotMissing)
{
    const TempFolder carpeta;
    const auto sitio = carpeta.path() / "VARIOS.INI";
    std::filesystem::create_symlink(sitio, sitio);
    const QString ruta = QString::fromStdString(sitio.string());
    for (const std::function<void()> &trabajo :
         {std::function<void()>([&] { static_cast<void>(TFicheroIni(ruta).Lee("A", "b")); }),
          std::function<void()>([&] { TFicheroIni(ruta).EscribeEntero("A", "b", 2); })}) {
        try {
            trabajo();
            ADD_FAILURE() << "taken for a file that is not there";
        } catch (const dataset::EDatabaseError &error) {
            EXPECT_NE(std::string(error.what()).find("no se puede leer: "), std::string::npos)
                << error.what();
        }
    }
    EXPECT_TRUE(std::filesystem::is_symlink(std::filesystem::symlink_status(sitio)));
}

#endif

} // namespace
