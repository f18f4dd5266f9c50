#include "host/ServiciosOficina.h"

#include "dbcontrols/PlainText.h"

#include "dataset/DbfTable.h"
#include "host/DialogoLista.h"
#include "host/Dialogos.h"
#include "host/TablasOficina.h"
#include "host/Visualizador.h"

#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QApplication>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QPushButton>

namespace
{

constexpr const char *PaletaSinFoco = "paletaSinFoco";

QColor ColorDe(TColor color, const QColor &delTema)
{
    const bool pedido = color != clBtnFace && color != clBtnText;
    return pedido ? QColor(Rojo(color), Verde(color), Azul(color)) : delTema;
}

/// A ground asked for in one theme and a text of another must still be told apart.
QColor Legible(const QColor &texto, const QColor &fondo)
{
    constexpr int MinimoContraste = 90;
    if (qAbs(qGray(texto.rgb()) - qGray(fondo.rgb())) >= MinimoContraste)
        return texto;
    return qGray(fondo.rgb()) > 127 ? Qt::black : Qt::white;
}

void PonColores(QMessageBox &caja, const TMensaje &mensaje)
{
    if (mensaje.ColorFondo == clBtnFace && mensaje.ColorTexto == clBtnText)
        return;
    QPalette paleta = caja.palette();
    const QColor fondo = ColorDe(mensaje.ColorFondo, paleta.color(QPalette::Window));
    paleta.setColor(QPalette::Window, fondo);
    paleta.setColor(QPalette::WindowText,
                    Legible(ColorDe(mensaje.ColorTexto, paleta.color(QPalette::WindowText)), fondo));
    caja.setPalette(paleta);
}

QMessageBox::Icon IconoDe(TIconoMensaje icono)
{
    switch (icono) {
    case TIconoMensaje::ninguno:
        return QMessageBox::NoIcon;
    case TIconoMensaje::informacion:
        return QMessageBox::Information;
    case TIconoMensaje::error:
        return QMessageBox::Critical;
    case TIconoMensaje::pregunta:
        return QMessageBox::Question;
    case TIconoMensaje::advertencia:
        break;
    }
    return QMessageBox::Warning;
}

/// Yes and no in the given order. @return 1 for yes.
int Pregunta(QMessageBox &caja, bool primeroSi, bool porDefectoSi)
{
    // One role for both: then they stand in the order in which they are added, on every desktop.
    QAbstractButton *si = nullptr;
    if (primeroSi)
        si = caja.addButton(QStringLiteral("&Sí"), QMessageBox::ActionRole);
    QPushButton *const no = caja.addButton(QStringLiteral("&No"), QMessageBox::ActionRole);
    if (!primeroSi)
        si = caja.addButton(QStringLiteral("&Sí"), QMessageBox::ActionRole);
    caja.setEscapeButton(no);
    caja.setDefaultButton(porDefectoSi ? qobject_cast<QPushButton *>(si) : no);
    caja.exec();
    return caja.clickedButton() == si ? RespuestaSi : 0;
}

} // namespace

int TMensajeOficina::Mensajes(const TMensaje &mensaje)
{
    QMessageBox caja(QApplication::activeWindow());
    caja.setIcon(IconoDe(mensaje.Icono));
    caja.setWindowTitle(mensaje.Titulo);
    dbcontrols::setPlainTexts(caja, mensaje.Texto, mensaje.Texto2);
    PonColores(caja, mensaje);
    if (mensaje.Clase != TClaseMensaje::aviso)
        return Pregunta(caja, true, mensaje.Clase == TClaseMensaje::pregunta);
    caja.addButton(QStringLiteral("&Aceptar"), QMessageBox::AcceptRole);
    caja.exec();
    return 0;
}

namespace
{

int PreguntaSuelta(const QString &pregunta, const QString &explicacion, const QString &titulo, bool primeroSi)
{
    QMessageBox caja(QApplication::activeWindow());
    caja.setIcon(QMessageBox::Question);
    caja.setWindowTitle(titulo);
    dbcontrols::setPlainTexts(caja, pregunta, explicacion);
    return Pregunta(caja, primeroSi, primeroSi);
}

} // namespace

int TMensajeOficina::Mensaje_SiNo(const QString &pregunta, const QString &explicacion, const QString &titulo)
{
    return PreguntaSuelta(pregunta, explicacion, titulo, true);
}

int TMensajeOficina::Mensaje_NoSi(const QString &pregunta, const QString &explicacion, const QString &titulo)
{
    return PreguntaSuelta(pregunta, explicacion, titulo, false);
}

void TMensajeOficina::Mensaje_Error(const QString &texto, const QString &titulo)
{
    Mensajes({TClaseMensaje::aviso, texto, TIconoMensaje::error, titulo, {}, clBtnFace, clBtnText, false});
}

bool TRutOficina::PreguntaFecha(QDate &fecha, const QString &indicacion, const QString &titulo)
{
    TDialogoFecha dialogo(fecha, indicacion, titulo, QApplication::activeWindow());
    if (dialogo.exec() != QDialog::Accepted)
        return false;
    fecha = dialogo.Fecha();
    return true;
}

bool TRutOficina::PreguntaOficial(QString &nombre)
{
    dataset::DbfTable empleados(m_aliases);
    PreparaTablaEmpleados(empleados, m_config.GetAliasZentra());
    empleados.setOpenReadOnly(true);
    empleados.open();
    const QString campo = QStringLiteral("NOMBRE");
    TDialogoLista dialogo(empleados, {{QStringLiteral("Nombre"), campo, 40}},
                          {QStringLiteral("Oficiales"), nombre, QStringLiteral("oficial"), true},
                          QApplication::activeWindow());
    if (dialogo.exec() != QDialog::Accepted)
        return false;
    nombre = empleados.field(campo).asText();
    return true;
}

void TRutOficina::Visualizador(report::Report &informe)
{
    MuestraVisualizador(informe);
}

bool TRvariasOficina::EsBoton(const QWidget *control) const
{
    return qobject_cast<const QAbstractButton *>(control);
}

void TRvariasOficina::TomaFocoControl(QWidget &control)
{
    if (control.property(PaletaSinFoco).isValid())
        return;
    control.setProperty(PaletaSinFoco, control.palette());
    QPalette marcada = control.palette();
    marcada.setColor(QPalette::Base, QColor(255, 255, 200));
    marcada.setColor(QPalette::Text, Qt::black);
    marcada.setColor(QPalette::PlaceholderText, Qt::darkGray);
    // A list that only drops down is painted as a button.
    if (qobject_cast<QComboBox *>(&control)) {
        marcada.setColor(QPalette::Button, QColor(255, 255, 200));
        marcada.setColor(QPalette::ButtonText, Qt::black);
    }
    control.setPalette(marcada);
}

void TRvariasOficina::DejaFocoControl(QWidget &control)
{
    const QVariant antes = control.property(PaletaSinFoco);
    if (!antes.isValid())
        return;
    control.setPalette(antes.value<QPalette>());
    control.setProperty(PaletaSinFoco, {});
}
