#pragma once

// The production index file, NAME.MDX. Everything is little-endian; a page is 512 bytes, a block two pages.
//
// File header, 2048 bytes
//   offset size  meaning
//        0    1  version: 2
//        1    3  date of creation or rebuild: year - 1900, month, day
//        4   16  name of the table without extension, filled with 0
//       20    2  pages in a block: 2
//       22    2  bytes in a block: 1024
//       24    1  1 = production index
//       25    1  slots in the table of tags: 48
//       26    2  bytes in a slot: 32
//       28    2  tags in use, 0 to 47
//       30    1  next tag number
//       31    1  language byte, the same as byte 29 of the table
//       32    4  pages in the file; the next new block goes there
//       36    4  first free block as a page number, 0 = none
//       40    4  0
//       44    3  date of the last change
//      512   32  slot 0, not a tag: its byte 17 (529) is the number of the tag at the top of the names' tree
//      544   32  for each tag 1 to 47, its slot
//
// Tag slot
//        0    4  page of the tag header
//        4   11  name, filled with 0
//       15    1  10h
//       16    1  tag to the left in the tree of names (smaller name), 0 = none
//       17    1  tag to the right
//       18    1  tag above
//       19    1  2
//       20    1  type of the key: C, D or N
//
// Tag header, 1024 bytes
//        0    4  page of the root block
//        4    4  pages of this tag; advisory
//        8    1  flags: 10h always, 08h descending, 40h unique, 20h distinct
//        9    1  type of the key again
//       11    1  language byte
//       12    2  bytes of a key
//       14    2  most items in a block
//       16    2  1 for a key of type D
//       18    2  bytes of an item: 4 + key, rounded up to a multiple of 4
//       20    1  counter, one more with every change of the tag
//       23    1  1 = unique
//       24  220  key expression, ended by 0
//      245    1  1 = has a FOR filter
//      246    1  1 = has keys
//      480    1  1 = the expression is a single field
//      762  220  FOR filter, ended by 0
//
// Block
//        0    4  number of keys k
//        4    4  in a free block: the next free one; else without meaning
//        8   ..  k items: 4 bytes (leaf: record number, inner block: page of a child), then the key
//       ..    4  leaf: 0; inner block: page of the last child, whose keys have no bound
//
// An inner item is (child, largest key in that child). Only the four bytes behind the last item tell a leaf
// from an inner block, so everything there is kept at 0 in leaves.
//
// A descending tag holds its keys from the largest down: "largest" above then reads "smallest". A unique tag
// holds one record for a key. Where the block has no room for four bytes behind its last item it is a leaf.
//
// Example, a leaf with two keys of 13 bytes:
//   02000000 00000000 02000000 "2024022810:00" 000000 01000000 "2024022909:30" 000000 00000000

#include "dbase/Bytes.h"
#include "dbase/Record.h"

#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <vector>

namespace dbase
{

using PageNumber = std::uint32_t;

inline constexpr std::size_t mdxPageSize = 512;
inline constexpr std::size_t mdxBlockSize = 1024;
inline constexpr std::size_t mdxHeaderSize = 2048;
inline constexpr PageNumber mdxFirstBlock = 4;
inline constexpr int mdxMaxTags = 47;
inline constexpr std::size_t mdxMaxExpression = 219;
/// Largest number of keys in an inner block that we write: other programs take a full one for a leaf.
inline constexpr int mdxInnerReserve = 1;

struct MdxHeader {
    std::string tableName;
    Date created;
    Date updated;
    int tagCount = 0;
    std::uint8_t languageDriver = 0;
    PageNumber pageCount = mdxFirstBlock;
    PageNumber freePage = 0;
};

enum class KeyType : char { character = 'C', date = 'D', numeric = 'N' };

/// A tag as slot and tag header describe it.
struct MdxTag {
    std::string name;
    PageNumber headerPage = 0;
    PageNumber rootPage = 0;
    KeyType keyType = KeyType::character;
    bool descending = false;
    bool unique = false;
    bool distinct = false; ///< refuses a second line with a key, which no table here can promise
    bool filtered = false; ///< says to have a filter
    int keyLength = 0;
    int itemLength = 0;
    int maxItems = 0;
    std::uint8_t changeCounter = 0;
    std::string expression;
    std::string filter; ///< empty: none

    /// How two keys stand to each other in this tag, over the first `length` bytes: negative, 0 or positive.
    [[nodiscard]] int compare(const std::uint8_t *a, const std::uint8_t *b, std::size_t length) const;
};

/// @param bytes       at least mdxHeaderSize bytes from the start of the file.
/// @param fileLength  bytes in the file.
/// @return damaged, naming the offset, for what cannot be; unsupported for a sound index of another kind.
Result<MdxHeader> decodeMdxHeader(std::span<const std::uint8_t> bytes, std::uint64_t fileLength);
/// Name and header page of tag `number` (1-based), read from the file header.
Result<MdxTag> decodeMdxSlot(std::span<const std::uint8_t> header, int number, PageNumber pageCount);
/// Fills in what the tag header says; the order that it describes also when the rest cannot be.
/// @param block  the tag header's mdxBlockSize bytes.
Status decodeMdxTagHeader(std::span<const std::uint8_t> block, MdxTag &tag, PageNumber pageCount);

/// The file header with all tag slots, mdxHeaderSize bytes, for a new or rebuilt index.
std::vector<std::uint8_t> encodeMdxHeader(const MdxHeader &header, std::span<const MdxTag> tags);
/// A tag header, mdxBlockSize bytes.
std::vector<std::uint8_t> encodeMdxTagHeader(const MdxTag &tag, std::uint8_t languageDriver,
                                             bool singleField);

/// Item length and items per block that a key of that many bytes gives.
[[nodiscard]] int mdxItemLength(int keyLength);
[[nodiscard]] int mdxItemsPerBlock(int itemLength);

/// How two keys stand to each other by what they say: negative, 0 or positive.
[[nodiscard]] int compareMdxKeys(KeyType type, const std::uint8_t *a, const std::uint8_t *b,
                                 std::size_t length);

inline constexpr std::uint8_t mdxFlagAlways = 0x10;
inline constexpr std::uint8_t mdxFlagDescending = 0x08;
inline constexpr std::uint8_t mdxFlagDistinct = 0x20;
inline constexpr std::uint8_t mdxFlagUnique = 0x40;
inline constexpr std::uint8_t mdxAllKinds = mdxFlagDescending | mdxFlagDistinct | mdxFlagUnique;

/// What a tag is, as the flags in its header say it.
[[nodiscard]] inline std::uint8_t mdxKindFlags(const MdxTag &tag)
{
    return static_cast<std::uint8_t>((tag.descending ? mdxFlagDescending : 0) |
                                     (tag.distinct ? mdxFlagDistinct : 0) | (tag.unique ? mdxFlagUnique : 0));
}

// A descending tag holds its keys the other way round, from the largest down: first leaf, bounds and all.
inline int MdxTag::compare(const std::uint8_t *a, const std::uint8_t *b, std::size_t length) const
{
    const int order = keyType == KeyType::character ? std::memcmp(a, b, length) // nearly all of them
                                                    : compareMdxKeys(keyType, a, b, length);
    return descending ? -order : order;
}

// Keys as the file stores them, from and to the form in which an Index compares them (see KeyExpression):
// texts are the same in both, a date is eight digits there and a day number here, a number eight ordered
// bytes there and digits here.

/// @param key  the whole comparable key. @param out  the tag's key length.
void mdxKeyFromIndexKey(KeyType type, std::span<const std::uint8_t> key, std::span<std::uint8_t> out);
/// The comparable form, as long as the expression's keys.
[[nodiscard]] std::vector<std::uint8_t> indexKeyFromMdxKey(KeyType type, std::span<const std::uint8_t> key);

} // namespace dbase
