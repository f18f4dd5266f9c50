#include "tests/support/OficinaDePrueba.h"

#include <gtest/gtest.h>

#include <fstream>

namespace support
{

using dataset::DbfTable;
using dataset::FieldKind;

OficinaDePrueba::OficinaDePrueba(int notarios)
{
    const auto alias = [this](const QString &nombre) {
        std::filesystem::create_directories(carpetaDe(nombre.toStdString()));
        Aliases.add(nombre, QString::fromStdString(carpetaDe(nombre.toStdString()).string()));
    };
    Aliases.setLockPatience(std::chrono::milliseconds(100)); // whoever waits here waits for a refusal
    alias(QStringLiteral("ZENTRA"));
    for (int notario = 1; notario <= notarios; ++notario) {
        alias(Rut.AliasNotario(notario));
        DbfTable tabla(Aliases);
        tabla.setDatabaseName(Rut.AliasNotario(notario));
        PreparaTablaAgendaN(tabla);
        tabla.createFile(CamposAgendaN());
    }
    DbfTable comun(Aliases);
    comun.setDatabaseName(QStringLiteral("ZENTRA"));
    comun.setTableName(QStringLiteral("VA_COMUN"));
    comun.createFile(
        {{"PROGRAMA", FieldKind::text, 10}, {"NOMBRE", FieldKind::text, 20}, {"VALOR", FieldKind::text, 50}});
    Config.Cuantos = notarios;
    Config.Carpeta = QString::fromStdString(carpeta().string()) + u'/';
    m_servicios = std::make_unique<TServiciosInstalados>(
        TServicios{&Mensaje, &Rut, &Rvarias, &Config, &Reloj, &Aliases});
    goConfAgendaN = std::make_unique<TClassConfAgendaN>();
}

OficinaDePrueba::~OficinaDePrueba()
{
    goConfAgendaN.reset();
}

void OficinaDePrueba::ponAjustes(int inicio, int fin, int intervalo)
{
    DbfTable comun(Aliases);
    comun.setDatabaseName(QStringLiteral("ZENTRA"));
    comun.setTableName(QStringLiteral("VA_COMUN"));
    comun.open();
    const std::pair<const char *, int> ajustes[] = {
        {"HoraInicio", inicio}, {"HoraFin", fin}, {"intervalo", intervalo}};
    for (const auto &[nombre, valor] : ajustes) {
        comun.append();
        comun.field(u"PROGRAMA").setText("AGENDA");
        comun.field(u"NOMBRE").setText(nombre);
        comun.field(u"VALOR").setInteger(valor);
        comun.post();
    }
}

std::unique_ptr<DbfTable> OficinaDePrueba::agenda(int notario, bool durable) const
{
    auto tabla = std::make_unique<DbfTable>(Aliases);
    tabla->setDatabaseName(QStringLiteral("NOTARIO%1").arg(notario));
    tabla->setDurable(durable);
    PreparaTablaAgendaN(*tabla);
    tabla->open();
    return tabla;
}

void OficinaDePrueba::linea(int notario, QDate fecha, const QString &hora, const QString &concepto,
                            const QString &salida)
{
    const auto tabla = agenda(notario);
    tabla->append();
    tabla->field(u"FECHA").setDate(fecha);
    tabla->field(u"HORA").setText(hora);
    tabla->field(u"CONCEPTO").setText(concepto);
    tabla->field(u"SALIDA").setText(salida);
    tabla->field(u"AVISO").setText("N");
    tabla->post();
}

void OficinaDePrueba::escribeSinBloqueo(int registro, const char *campo, const std::string &bytes) const
{
    constexpr int anchoDeFecha = 8;
    int lugar = 0;
    int largo = 1;
    for (const dataset::FieldInfo &uno : CamposAgendaN()) {
        if (campo && uno.name == QLatin1String(campo))
            lugar = largo;
        largo += uno.kind == FieldKind::date ? anchoDeFecha : uno.width;
    }
    std::fstream fichero(carpetaDe("NOTARIO1") / "AGENDA_N.DBF",
                         std::ios::in | std::ios::out | std::ios::binary);
    fichero.seekg(8);
    const int cabecera = fichero.get() + 256 * fichero.get();
    fichero.seekp(cabecera + (registro - 1) * largo + lugar);
    fichero << bytes;
    fichero.flush();
    EXPECT_TRUE(fichero.good() && (!campo || lugar > 0));
}

QStringList OficinaDePrueba::dia(int notario, QDate fecha) const
{
    QStringList lineas;
    const auto tabla = agenda(notario);
    tabla->setRange({{"FECHA", fecha}}, {{"FECHA", fecha}});
    for (tabla->first(); !tabla->eof(); tabla->next())
        lineas << QStringList{tabla->field(u"HORA").asText(), tabla->field(u"CONCEPTO").asText(),
                              tabla->field(u"SALIDA").asText()}
                      .join(u' ');
    return lineas;
}

} // namespace support
