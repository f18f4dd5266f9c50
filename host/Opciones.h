#pragma once

#include <QtCore/QDate>
#include <QtCore/QStringList>

#include <optional>

/// What the program was told on its command line.
struct TOpciones {
    QString Datos;
    QString Capturas;
    bool CrearDemo = false;
    bool SoloDatos = false;
    bool Convenio = false;
    bool MideArranque = false;
    int Anyos = 0;
    QDate Hoy;

    /// Nobody is there to answer questions.
    [[nodiscard]] bool SinNadie() const { return SoloDatos || MideArranque || !Capturas.isEmpty(); }
};

/// What became of reading a command line: options, or a text and whether it is what was asked for.
struct TLineaLeida {
    std::optional<TOpciones> Opciones;
    QString Texto;      ///< without options: the help, or what is wrong with the line
    bool Ayuda = false; ///< the text was asked for
};

/// Reads a command line, the program's name first, and checks every value. Shows and ends nothing.
[[nodiscard]] TLineaLeida LeeOpciones(const QStringList &argumentos);

/// Makes the demo office that was asked for where the folder holds no office yet.
/// @throws dataset::EDatabaseError, the folder as it was before.
void PreparaDatos(const TOpciones &opciones);
