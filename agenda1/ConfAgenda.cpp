#include "agenda1/ConfAgenda.h"

#include "agenda/Avisos.h"
#include "agenda/ClaseConfAgendaN.h"
#include "agenda/Rnumcad.h"
#include "agenda/Rvarias.h"
#include "agenda/host/Constanteszen.h"
#include "agenda/host/Servicios.h"
#include "agenda1/ClasAge.h"
#include "dbcontrols/ColorPanel.h"
#include "dbcontrols/LaterCall.h"
#include "dbcontrols/MaskEdit.h"

#include <QtGui/QKeyEvent>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QGroupBox>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QRadioButton>

#include <utility>

namespace
{

QString SinBlancosNiBarras(const QString &fecha)
{
    return QuitaCaracter(QuitaCaracter(fecha, u' '), u'/');
}

void MuestraError(const QString &texto)
{
    Servicios().Mensaje->Mensaje_Error(texto, QStringLiteral("Error"));
}

} // namespace

// What is read and written

void TFConfAgenda::leerDatos()
{
    if (!m_motor.SeleccionaConfiguracion())
        return;
    const TAjustesAgenda &ajustes = m_motor.Ajustes();
    const bool dos = m_motor.DosNotarios();
    (dos ? rbConvenio : rbNormal)->setChecked(true);
    eNotario1->setText(dos ? ajustes.FNotario1.trimmed() : QString());
    eNotario2->setText(dos ? ajustes.FNotario2.trimmed() : QString());
    cbHoraComienzo->setCurrentIndex(ajustes.FHoraInicio - 1);
    cbHoraFin->setCurrentIndex(ajustes.FHoraFin - 1);
    eIntervaloHoras->setText(Int_Cad(ajustes.FIntervalo));
    try {
        MEFecha->setMaskedText(Date_Cad(Servicios().Config->GetAgenda_FechaInicio()));
    } catch (const std::exception &error) {
        // Raised, it would shut the user out of the dialog in which the date can be put right.
        m_sinFecha = true;
        qWarning("The end date of the agenda could not be read: %s", error.what());
    }
    HabilitaInteresados();
}

void TFConfAgenda::escribirDatos()
{
    TAjustesAgenda ajustes = m_motor.Ajustes();
    if (rbNormal->isChecked()) {
        ajustes.FNotario1 = UnNotario;
    } else {
        ajustes.FNotario1 = eNotario1->text().trimmed();
        ajustes.FNotario2 = eNotario2->text().trimmed();
    }
    ajustes.FHoraInicio = cbHoraComienzo->currentIndex() + 1;
    ajustes.FHoraFin = cbHoraFin->currentIndex() + 1;
    ajustes.FIntervalo = Cad_Int(eIntervaloHoras->text());
    m_motor.PonAjustes(ajustes);
    bool hecho = true;
    try {
        const QString fecha = MEFecha->text();
        const bool sinFecha = SinBlancosNiBarras(fecha).isEmpty();
        // One that could not be read is not taken off because it is not shown.
        if (!m_sinFecha || !sinFecha)
            Servicios().Config->SetAgenda_FechaInicio(sinFecha ? QDate() : Cad_Date(fecha));
    } catch (const std::exception &error) {
        qWarning("The end date of the agenda could not be stored: %s", error.what());
        hecho = false; // the rest is stored all the same
    }
    hecho = m_motor.AlmacenaConfiguracion() && hecho;
    if (!hecho)
        MuestraError(QStringLiteral("Hubo problemas al intentar guardar la configuración de la agenda"));
}

void TFConfAgenda::HabilitaInteresados()
{
    const bool dos = rbConvenio->isChecked();
    for (QWidget *const control : std::initializer_list<QWidget *>{m_rotuloNotario1, m_rotuloNotario2,
                                                                   gbINteresados, eNotario1, eNotario2})
        control->setEnabled(dos);
}

void TFConfAgenda::rbNormalClick()
{
    HabilitaInteresados();
}

void TFConfAgenda::pColorAgendaSalidaClick()
{
    const auto color = pColorAgendaSalida->askColor(QStringLiteral("Color de una salida"));
    if (!color)
        return;
    pColorAgendaSalida->setColor(*color);
    pColorAgendaSalida->setAccessibleDescription(ColorATexto(*color));
    clAgendaSalida = *color;
    try {
        TClassConfAgendaN().SetColorSalida(*color); // at once, however the dialog is left
    } catch (const std::exception &error) {
        MuestraError(dataset::plainText(error));
    }
}

void TFConfAgenda::BAceptarClick()
{
    // Its key presses the button without the focus leaving the field, which must not be left as it is.
    if (m_sinNumero || (eIntervaloHoras->hasFocus() && !EsUnNumero(eIntervaloHoras->text()))) {
        eIntervaloHoras->setFocus();
        return;
    }
    m_fechaPendiente = false;
    if (!CompruebaFecha())
        return;
    escribirDatos();
    accept();
}

void TFConfAgenda::BSalirClick()
{
    BSalir->setFocus();
    m_fechaPendiente = false;
    if (Servicios().Mensaje->Mensaje_NoSi(QStringLiteral("¿Desea realmente salir de la configuración?"),
                                          QStringLiteral("No se actualizará la configuración"),
                                          QStringLiteral("Atención")) == RespuestaSi)
        reject();
}

// Fields that are not left as they like

bool TFConfAgenda::eIntervaloHorasKeyPress(const QKeyEvent &tecla)
{
    // Keys that move or delete are no characters, although Qt gives some of them one.
    switch (tecla.key()) {
    case Qt::Key_Delete:
    case Qt::Key_Tab:
    case Qt::Key_Backtab:
        return true;
    case Qt::Key_Backspace:
        return false; // arrives as a character, and is none of the digits
    default:
        return tecla.text().isEmpty() || EsUnNumero(tecla.text());
    }
}

void TFConfAgenda::eIntervaloHorasExit()
{
    if (EsUnNumero(eIntervaloHoras->text()))
        return;
    m_sinNumero = true;
    // Queued: the control that is to get the focus now has not had it yet.
    dbcontrols::callLater(this, [this] {
        if (std::exchange(m_sinNumero, false) && !BSalir->hasFocus())
            eIntervaloHoras->setFocus();
    });
}

bool TFConfAgenda::CompruebaFecha()
{
    QString fecha = MEFecha->text();
    if (SinBlancosNiBarras(fecha).isEmpty())
        return true;
    if (VerificaFecha(fecha)) {
        MEFecha->setMaskedText(fecha);
        return true;
    }
    AvisaMotor(QStringLiteral("La fecha introducida no es correcta"), {}, TituloAtencionPuntos);
    MEFecha->setFocus();
    return false;
}

void TFConfAgenda::MEFechaExit()
{
    m_fechaPendiente = true;
    // Queued: where the focus goes is known only when it is there, and no box may open before.
    dbcontrols::callLater(this, [this] {
        if (std::exchange(m_fechaPendiente, false) && !BSalir->hasFocus())
            CompruebaFecha();
    });
}

// Keys and focus

bool TFConfAgenda::takesKey(const QWidget &control, const QKeyEvent &tecla) const
{
    return &control != eIntervaloHoras || eIntervaloHorasKeyPress(tecla);
}

void TFConfAgenda::entered(QWidget &control)
{
    Servicios().Rvarias->TomaFocoControl(control);
}

void TFConfAgenda::left(QWidget &control)
{
    Servicios().Rvarias->DejaFocoControl(control);
    if (&control == eIntervaloHoras)
        eIntervaloHorasExit();
}
