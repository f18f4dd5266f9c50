#pragma once

#include <QtCore/QString>

/// Whether a text is a Spanish tax number with the right check letter or digit: of a citizen (00000000T), of
/// a foreigner (X0000000T) or of a company (B00000000).
[[nodiscard]] bool EsNif(const QString &texto);
