#include "tests/simulacion/Oficina.h"

#include "tests/simulacion/Vocabulario.h"
#include "tests/support/OficinaDePrueba.h"

#include <QtCore/QUuid>

namespace simulacion
{

namespace
{

namespace fs = std::filesystem;

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
        fs::create_directories(Carpeta);
        fs::copy(modelo.carpeta(), Carpeta / "modelo", fs::copy_options::recursive);
    }
    ~TRaiz()
    {
        std::error_code nada;
        fs::remove_all(Carpeta, nada);
    }
    TRaiz(const TRaiz &) = delete;
    TRaiz &operator=(const TRaiz &) = delete;
    fs::path Carpeta;
};

} // namespace

fs::path HazOficina()
{
    static const TRaiz raiz;
    static int cuantas = 0;
    const fs::path carpeta = raiz.Carpeta / std::to_string(++cuantas);
    fs::copy(raiz.Carpeta / "modelo", carpeta, fs::copy_options::recursive);
    return carpeta;
}

} // namespace simulacion
