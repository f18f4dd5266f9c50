#pragma once

#include "dataset/Export.h"
#include "dbase/Status.h"

#include <QtCore/QString>

#include <stdexcept>

namespace dataset
{

/// What every operation of a data set throws when it cannot do its work. what() and text() tell all of it;
/// for a clerk see plainText().
class DATASET_EXPORT EDatabaseError : public std::runtime_error
{
public:
    /// @param text Spanish, for the user.
    explicit EDatabaseError(const QString &text, dbase::ErrorKind kind = dbase::ErrorKind::invalidArgument);
    explicit EDatabaseError(const dbase::Status &status);
    ~EDatabaseError() override;

    [[nodiscard]] dbase::ErrorKind kind() const { return m_status.kind(); }
    [[nodiscard]] const dbase::Status &status() const { return m_status; }
    [[nodiscard]] QString text() const;

private:
    dbase::Status m_status;
};

/// What a clerk can make something of in an error: an EDatabaseError without the path of its file, the number
/// of its record and its place in the file, which go to the log; of others all.
[[nodiscard]] DATASET_EXPORT QString plainText(const std::exception &error);

/// Whether others hold a whole table, and not one line of it: what is tried next there waits as long, and in
/// vain.
[[nodiscard]] DATASET_EXPORT bool isTableBusy(const std::exception &error);

/// A text that is not the number, date or time it should be.
class DATASET_EXPORT EConvertError : public std::runtime_error
{
public:
    explicit EConvertError(const QString &text);
    ~EConvertError() override;
    [[nodiscard]] QString text() const;
};

} // namespace dataset
