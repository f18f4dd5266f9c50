#pragma once

#include "dbase/MdxTree.h"

#include <array>
#include <cstring>
#include <map>
#include <vector>

namespace fuzz
{

/// An index file in memory. As with the real one, a changed block moves to a copy of its own, while the place
/// where it was read stays as it was.
class MemoryBlocks final : public dbase::BlockStore
{
public:
    /// @param file     the whole file; its blocks are found from their page numbers.
    /// @param patience blocks that are handed out before everything counts as outside of the file: an
    /// impossible tree
    ///                 may have more ways through it than anybody can walk.
    MemoryBlocks(std::span<const std::uint8_t> file, int patience)
        : m_file(file.begin(), file.end())
        , m_patience(patience)
        , m_next(static_cast<dbase::PageNumber>(file.size() / dbase::mdxBlockSize) * 2)
    {
    }

    [[nodiscard]] const std::uint8_t *block(dbase::PageNumber page) const override
    {
        if (--m_patience < 0)
            return nullptr;
        if (const auto own = m_changed.find(page); own != m_changed.end())
            return own->second.data();
        const std::size_t at = std::size_t{page} * dbase::mdxPageSize;
        if (page < dbase::mdxFirstBlock || at + dbase::mdxBlockSize > m_file.size())
            return nullptr;
        return m_file.data() + at;
    }
    [[nodiscard]] std::uint8_t *change(dbase::PageNumber page) override
    {
        if (const auto own = m_changed.find(page); own != m_changed.end())
            return own->second.data();
        const std::uint8_t *const now = block(page);
        if (!now)
            return nullptr;
        auto &copy = m_changed[page];
        std::memcpy(copy.data(), now, copy.size());
        return copy.data();
    }
    [[nodiscard]] dbase::PageNumber allocate() override
    {
        const dbase::PageNumber page = m_next;
        m_next += 2;
        m_changed[page] = {};
        return page;
    }
    void release(dbase::PageNumber page) override { m_changed[page] = {}; }

    /// Puts the changes into the file, as writing it out does.
    void write()
    {
        m_file.resize(std::size_t{m_next} * dbase::mdxPageSize, 0);
        for (const auto &[page, bytes] : m_changed)
            std::memcpy(m_file.data() + std::size_t{page} * dbase::mdxPageSize, bytes.data(), bytes.size());
        m_changed.clear();
    }

private:
    std::vector<std::uint8_t> m_file;
    mutable int m_patience;
    dbase::PageNumber m_next;
    std::map<dbase::PageNumber, std::array<std::uint8_t, dbase::mdxBlockSize>> m_changed;
};

} // namespace fuzz
