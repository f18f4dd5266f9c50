#pragma once

// Where things stand in an index file; what they mean is told at the head of MdxFormat.h.

#include <cstddef>

namespace dbase
{

namespace mdxHeader
{
inline constexpr std::size_t version = 0;
inline constexpr std::size_t created = 1;
inline constexpr std::size_t tableName = 4;
inline constexpr std::size_t tableNameSize = 16;
inline constexpr std::size_t blockPages = 20;
inline constexpr std::size_t blockLength = 22;
inline constexpr std::size_t production = 24;
inline constexpr std::size_t slotCount = 25;
inline constexpr std::size_t slotLength = 26;
inline constexpr std::size_t tagCount = 28;
inline constexpr std::size_t nextTag = 30;
inline constexpr std::size_t language = 31;
inline constexpr std::size_t pageCount = 32;
inline constexpr std::size_t freePage = 36;
inline constexpr std::size_t updated = 44;
inline constexpr std::size_t nameTreeTop = 529;
inline constexpr std::size_t firstSlot = 544;
} // namespace mdxHeader

namespace mdxSlot
{
inline constexpr std::size_t length = 32;
inline constexpr std::size_t headerPage = 0;
inline constexpr std::size_t name = 4;
inline constexpr std::size_t nameSize = 11;
inline constexpr std::size_t mark = 15;
inline constexpr std::size_t left = 16;
inline constexpr std::size_t right = 17;
inline constexpr std::size_t above = 18;
inline constexpr std::size_t two = 19;
inline constexpr std::size_t keyType = 20;
} // namespace mdxSlot

namespace mdxTagHeader
{
inline constexpr std::size_t rootPage = 0;
inline constexpr std::size_t pagesUsed = 4;
inline constexpr std::size_t flags = 8;
inline constexpr std::size_t keyType = 9;
inline constexpr std::size_t language = 11;
inline constexpr std::size_t keyLength = 12; // this and the next three are a tag's shape, side by side
inline constexpr std::size_t shapeSize = 8;
inline constexpr std::size_t maxItems = 14;
inline constexpr std::size_t isDate = 16;
inline constexpr std::size_t itemLength = 18;
inline constexpr std::size_t counter = 20;
inline constexpr std::size_t unique = 23;
inline constexpr std::size_t expression = 24;
inline constexpr std::size_t textSize = 220;
inline constexpr std::size_t hasFilter = 245;
inline constexpr std::size_t hasKeys = 246;
inline constexpr std::size_t singleField = 480;
inline constexpr std::size_t filter = 762;
} // namespace mdxTagHeader

namespace mdxBlock
{
inline constexpr std::size_t count = 0;
inline constexpr std::size_t freeLink = 4;
inline constexpr std::size_t items = 8;
inline constexpr std::size_t childSize = 4; ///< in an item, in front of its key
} // namespace mdxBlock

} // namespace dbase
