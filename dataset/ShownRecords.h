#pragma once

#include "dataset/RecordStore.h"

#include <QtCore/QHash>
#include <QtCore/QSet>

#include <cstdint>
#include <vector>

namespace dataset
{

/// What watchers have been shown of the rows, so that a refresh can say which of them have changed: the
/// latest records whole, and of those before them a digest.
class ShownRecords
{
public:
    /// The record as it was shown last; null when it is not at hand. Valid until something is kept or
    /// forgotten.
    [[nodiscard]] const Record *find(Bookmark number) const;
    /// Notes that a record that is not at hand is being shown. @return where it is kept.
    const Record &keep(Bookmark number, Record record);
    /// @return whether a record has been shown, and with another content than this one. From then on this one
    /// counts as shown.
    bool replace(Bookmark number, const Record &record);
    /// Whether a record that is not at hand has been shown with another content than this one.
    [[nodiscard]] bool wasOther(Bookmark number, const Record &record) const;
    void forget(Bookmark number);
    void clear();
    /// Reads every record shown again. Those with another content, and those gone, are added to `changed`.
    /// @return the records as they now are. @throws EDatabaseError when one cannot be read.
    [[nodiscard]] ShownRecords rechecked(const RecordStore &store, QSet<Bookmark> &changed) const;

private:
    void recheckEach(const RecordStore &store, QSet<Bookmark> &changed);
    [[nodiscard]] std::uint32_t digestAt(Bookmark number) const;
    void setDigest(Bookmark number, std::uint32_t digest);

    QHash<Bookmark, Record> m_whole;
    std::vector<std::uint32_t> m_digests; ///< by record number; 0: not shown, or at hand whole
};

} // namespace dataset
