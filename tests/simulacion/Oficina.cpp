#include "tests/simulacion/Oficina.h"

#include "agenda/AgendaNDM.h"
#include "tests/simulacion/Vocabulario.h"

#include <QtCore/QUuid>

namespace simulacion
{

namespace
{

namespace fs = std::filesystem;
using dataset::DbfTable;
using dataset::FieldKind;

fs::path Nueva()
{
    const fs::path enMemoria = "/dev/shm";
    std::error_code nada;
    const fs::path raiz = fs::is_directory(enMemoria, nada) ? enMemoria : fs::temp_directory_path();
    return raiz / ("agenda-simulacion-" + QUuid::createUuid().toString(QUuid::WithoutBraces).toStdString());
}

/// Removed with the program.
struct TModelo {
    TModelo()
        : Carpeta(Nueva())
    {
        Llena();
    }
    ~TModelo()
    {
        std::error_code nada;
        fs::remove_all(Carpeta, nada);
    }
    TModelo(const TModelo &) = delete;
    TModelo &operator=(const TModelo &) = delete;

    void Llena() const
    {
        dataset::Aliases aliases;
        const auto alias = [&](const QString &nombre) {
            const fs::path carpeta = Carpeta / nombre.toStdString();
            fs::create_directories(carpeta);
            aliases.add(nombre, QString::fromStdString(carpeta.string()));
        };
        for (int notario = 1; notario <= Notarios; ++notario) {
            const QString nombre = QStringLiteral("NOTARIO%1").arg(notario);
            alias(nombre);
            DbfTable tabla(aliases);
            tabla.setDatabaseName(nombre);
            PreparaTablaAgendaN(tabla);
            tabla.createFile(CamposAgendaN());
        }
        alias(QStringLiteral("ZENTRA"));
        DbfTable comun(aliases);
        comun.setDatabaseName(QStringLiteral("ZENTRA"));
        comun.setTableName(QStringLiteral("VA_COMUN"));
        comun.createFile({{"PROGRAMA", FieldKind::text, 10},
                          {"NOMBRE", FieldKind::text, 20},
                          {"VALOR", FieldKind::text, 50}});
        comun.open();
        const std::pair<const char *, int> ajustes[] = {
            {"HoraInicio", 9}, {"HoraFin", 11}, {"intervalo", 30}};
        for (const auto &[nombre, valor] : ajustes) {
            comun.append();
            comun.field(u"PROGRAMA").setText(QStringLiteral("AGENDA"));
            comun.field(u"NOMBRE").setText(QLatin1String(nombre));
            comun.field(u"VALOR").setInteger(valor);
            comun.post();
        }
        DbfTable empleados(aliases);
        empleados.setDatabaseName(QStringLiteral("ZENTRA"));
        empleados.setTableName(QStringLiteral("EMPLEADO"));
        empleados.createFile({{"NOMBRE", FieldKind::text, 40}});
        fs::create_directories(Carpeta / "CONFIG");
    }
    fs::path Carpeta;
};

} // namespace

fs::path HazOficina()
{
    static const TModelo modelo;
    const fs::path carpeta = Nueva();
    fs::copy(modelo.Carpeta, carpeta, fs::copy_options::recursive);
    return carpeta;
}

} // namespace simulacion
