#pragma once

// The agenda table of the tests that kill writers, cut the power and fail file calls: its lines, and what a
// sound one looks like.
//
// A line's key stands in OFICIAL, its value in INTERESADO, and CONCEPTO is filled with a pattern made of the
// value, so that half a line gives itself away. A day sheet is one commit of many lines with one key.

#include "dbase/Table.h"

#include <filesystem>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace driver
{

enum class Field { fecha, hora, concepto, codcliente, interesado, oficial, salida, aviso };
inline constexpr int linesOfSheet = 12;
inline constexpr const char *counterKey = "counter"; ///< its value is the number in CODCLIENTE

using Bytes = std::vector<std::uint8_t>;
using Contents = std::map<std::string, std::string>; ///< key to value of the live lines

class AgendaTable
{
public:
    /// Makes the table, with a counter at 0 and three lines "shared-a" to "shared-c" of value "v0".
    static dbase::Status create(const std::filesystem::path &folder);

    /// Opens the table of a folder, and so repairs it. @return readOnly also when it only opens for reading.
    dbase::Status open(const std::filesystem::path &folder,
                       std::chrono::milliseconds lockTimeout = std::chrono::seconds(2), bool durable = true);
    /// @return what the closing met; nothing of what was acknowledged depends on it.
    dbase::Status close();
    [[nodiscard]] bool isOpen() const { return m_table != nullptr; }
    dbase::Table &table() { return *m_table; }

    Bytes line(const std::string &key, const std::string &value, std::mt19937 &random) const;
    void setTime(Bytes &record, std::mt19937 &random) const;
    void setValue(Bytes &record, const std::string &value) const;
    /// @return how often it has been counted up.
    [[nodiscard]] long counter(std::span<const std::uint8_t> record) const;
    void setCounter(Bytes &record, long count) const;
    [[nodiscard]] std::string text(std::span<const std::uint8_t> record, Field field) const;
    /// The live line with a key, as a window finds it: through the index; 0 when there is none.
    dbase::Result<dbase::RecordNumber> find(const std::string &key) const;
    /// All live lines with a key.
    dbase::Result<std::vector<dbase::RecordNumber>> findAll(const std::string &key) const;

    /// Every live line through the index, each held to its pattern, the sheets to their length, and the index
    /// to the file. @return damaged, naming the line.
    dbase::Result<Contents> readAll() const;

private:
    void setText(Bytes &record, Field field, const std::string &text) const;
    [[nodiscard]] const dbase::FieldDefinition &definitionOf(Field field) const;
    std::unique_ptr<dbase::Table> m_table;
};

} // namespace driver
