#pragma once

#include "dataset/Field.h"

namespace dataset
{

/// A value as the user sees it (see Field::asText).
[[nodiscard]] QString textOfValue(const QVariant &value, const FieldInfo &field);
/// What a user's text means for a field; null for an empty one.
/// @throws EConvertError
[[nodiscard]] QVariant valueOfText(const QString &text, const FieldInfo &field);
/// Any value brought to the field's own type. @throws EConvertError
[[nodiscard]] QVariant valueForField(const QVariant &value, const FieldInfo &field);

} // namespace dataset
