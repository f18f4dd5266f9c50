#pragma once

#include <QtGui/QIcon>

/// The pictures of the agenda's commands.
enum class TDibujoAgendaN {
    anterior,
    siguiente,
    nuevo,
    modificar,
    borrar,
    imprimir,
    limpiar,
    salida,
    ausente,
    copiar,
    pegar,
    contacto,
    configuracion,
    salir
};

/// Draws a picture at whatever size and scale is asked for, in the text colour of the theme in force.
[[nodiscard]] QIcon IconoAgendaN(TDibujoAgendaN dibujo);
