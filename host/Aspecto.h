#pragma once

#include <QtCore/QTranslator>

/// How the program looks and speaks, for as long as this object is there: its font, Spanish dates and
/// numbers, and the toolkit's own dialogs (colours, printing) in Spanish, where Qt's translations are
/// installed. To be made once, after the application.
class TAspecto
{
public:
    TAspecto();

private:
    QTranslator m_traduccion; ///< takes itself away when it goes
};
