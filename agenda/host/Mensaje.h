#pragma once

#include "agenda/Color.h"

#include <QtCore/QString>

/// What a message box is for. The numbers are those of the host's message routine.
enum class TClaseMensaje { aviso = 0, pregunta = 1, preguntaGrave = 2 };
enum class TIconoMensaje { ninguno, informacion, advertencia, error, pregunta };

/// Answer of a question: yes is 1, anything else is no.
inline constexpr int RespuestaSi = 1;

/// A message box in the order of the host's arguments.
struct TMensaje {
    TClaseMensaje Clase = TClaseMensaje::aviso;
    QString Texto;
    TIconoMensaje Icono = TIconoMensaje::advertencia;
    QString Titulo;
    QString Texto2; ///< secondary line; may be empty
    TColor ColorFondo = clBtnFace;
    TColor ColorTexto = clBtnText;
    bool Bandera = false;
};

/// The host's message boxes. All are modal and return when the user has answered; Esc is "no".
class IMensaje
{
public:
    virtual ~IMensaje() = default;
    /// @return for a question 1 when the user answers yes; for a notice any value.
    virtual int Mensajes(const TMensaje &mensaje) = 0;
    /// Yes/no question, buttons in the order yes, no. @return 1 for yes.
    virtual int Mensaje_SiNo(const QString &pregunta, const QString &explicacion, const QString &titulo) = 0;
    /// Yes/no question, buttons in the order no, yes; no is the default. @return 1 for yes.
    virtual int Mensaje_NoSi(const QString &pregunta, const QString &explicacion, const QString &titulo) = 0;
    virtual void Mensaje_Error(const QString &texto, const QString &titulo) = 0;
};
