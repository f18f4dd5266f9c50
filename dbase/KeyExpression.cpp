#include "dbase/KeyExpression.h"

#include <array>
#include <cctype>
#include <charconv>
#include <utility>

namespace dbase
{

/// Immutable tree of an expression. Every node gives a text, padded to its width only at the very end, except
/// a lone number or date field.
struct KeyExpression::Node {
    enum class Kind { field, dtos, upper, str, substr, trim, sum };
    Kind kind = Kind::field;
    FieldDefinition field{};
    int fieldIndex = -1;
    CodePage page = CodePage::windows1252;
    std::size_t width = 0;
    std::size_t start = 0; // SUBSTR, from 0
    std::uint8_t decimals = 0;
    std::vector<Node> parts;

    [[nodiscard]] bool isText() const { return kind != Kind::field || field.type == FieldType::character; }
    [[nodiscard]] std::string text(std::span<const std::uint8_t> record) const;
    [[nodiscard]] std::string number(std::span<const std::uint8_t> record) const;
};

namespace
{

using Node = KeyExpression::Node;
constexpr int maxDepth = 32;

std::string rawBytes(std::span<const std::uint8_t> record, const FieldDefinition &field)
{
    const auto bytes = record.subspan(field.offset, field.width);
    return {bytes.begin(), bytes.end()};
}

std::string withoutTrailingBlanks(std::string text)
{
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

/// The bits of a number from the highest byte down, the sign turned, so that memcmp orders them.
std::string comparableNumber(double value)
{
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    constexpr std::uint64_t signBit = std::uint64_t{1} << 63U;
    bits = (bits & signBit) != 0 ? ~bits : bits | signBit;
    std::string out(8, '\0');
    for (std::size_t i = 8; i-- > 0; bits >>= 8U)
        out[i] = static_cast<char>(bits & 0xFFU);
    return out;
}

class Parser
{
public:
    Parser(std::string_view text, std::span<const FieldDefinition> fields, CodePage page)
        : m_text(text)
        , m_fields(fields)
        , m_page(page)
    {
    }

    Result<Node> whole()
    {
        auto node = sum(0);
        if (!node.ok())
            return node;
        skipBlanks();
        if (m_at != m_text.size())
            return unsupported(std::string(m_text.substr(m_at)));
        return node;
    }

private:
    static Status unsupported(const std::string &what)
    {
        return {ErrorKind::unsupported, "la expresión del índice usa algo que no se conoce: «" + what + "»"};
    }

    void skipBlanks()
    {
        while (m_at < m_text.size() && m_text[m_at] == ' ')
            ++m_at;
    }

    bool accept(char c)
    {
        skipBlanks();
        if (m_at >= m_text.size() || m_text[m_at] != c)
            return false;
        ++m_at;
        return true;
    }

    std::string word()
    {
        skipBlanks();
        std::string out;
        while (m_at < m_text.size() &&
               (std::isalnum(static_cast<unsigned char>(m_text[m_at])) || m_text[m_at] == '_'))
            out += static_cast<char>(std::toupper(static_cast<unsigned char>(m_text[m_at++])));
        return out;
    }

    std::optional<int> numberArgument()
    {
        const std::string digits = word();
        int value = 0;
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
        if (digits.empty() || error != std::errc() || end != digits.data() + digits.size() || value > 255)
            return std::nullopt;
        return value;
    }

    Result<Node> sum(int depth)
    {
        if (depth > maxDepth)
            return unsupported("demasiados paréntesis");
        auto left = term(depth);
        if (!left.ok())
            return left;
        if (!accept('+'))
            return left;
        Node node;
        node.kind = Node::Kind::sum;
        node.page = m_page;
        node.parts.push_back(std::move(left).value());
        do {
            auto right = term(depth);
            if (!right.ok())
                return right;
            node.parts.push_back(std::move(right).value());
        } while (accept('+'));
        for (const Node &part : node.parts) {
            if (!part.isText())
                return unsupported("una suma con algo que no es texto");
            node.width += part.width;
        }
        return node;
    }

    Result<Node> term(int depth)
    {
        if (accept('(')) {
            auto inner = sum(depth + 1);
            if (inner.ok() && !accept(')'))
                return unsupported("un paréntesis sin cerrar");
            return inner;
        }
        const std::string name = word();
        if (name.empty())
            return unsupported(std::string(m_text.substr(m_at)));
        if (!accept('('))
            return fieldNode(name);
        auto node = call(name, depth);
        if (node.ok() && !accept(')'))
            return unsupported(name);
        return node;
    }

    Result<Node> fieldNode(const std::string &name)
    {
        for (std::size_t i = 0; i < m_fields.size(); ++i) {
            if (m_fields[i].name != name)
                continue;
            if (m_fields[i].type == FieldType::logical)
                return unsupported(name);
            Node node;
            node.field = m_fields[i];
            node.fieldIndex = static_cast<int>(i);
            node.page = m_page;
            const bool number =
                node.field.type == FieldType::numeric || node.field.type == FieldType::floating;
            node.width = number ? 8 : node.field.width;
            return node;
        }
        return Status(ErrorKind::invalidArgument,
                      "la expresión del índice usa un campo que la tabla no tiene: " + name);
    }

    Result<Node> call(const std::string &name, int depth)
    {
        auto argument = sum(depth + 1);
        if (!argument.ok())
            return argument;
        Node node;
        node.page = m_page;
        const Node &inner = argument.value();
        if (name == "DTOS") {
            if (inner.kind != Node::Kind::field || inner.field.type != FieldType::date)
                return unsupported("DTOS de algo que no es una fecha");
            node.kind = Node::Kind::dtos;
            node.width = 8;
        } else if (name == "STR") {
            return strCall(std::move(argument).value());
        } else if (!inner.isText()) {
            return unsupported(name + " de algo que no es texto");
        } else if (name == "UPPER") {
            node.kind = Node::Kind::upper;
            node.width = inner.width;
        } else if (name == "TRIM" || name == "RTRIM") {
            node.kind = Node::Kind::trim;
            node.width = inner.width;
        } else if (name == "SUBSTR" || name == "LEFT") {
            node.kind = Node::Kind::substr;
            if (const Status status = pieceArguments(name == "LEFT", node, inner.width); !status.ok())
                return status;
        } else {
            return unsupported(name);
        }
        node.parts.push_back(std::move(argument).value());
        return node;
    }

    Status pieceArguments(bool fromLeft, Node &node, std::size_t available)
    {
        int start = 1;
        if (!fromLeft) {
            const auto from = accept(',') ? numberArgument() : std::nullopt;
            if (!from || *from < 1)
                return unsupported("SUBSTR");
            start = *from;
        }
        int length = static_cast<int>(available) - start + 1;
        if (fromLeft || m_text.substr(m_at).find_first_not_of(' ') == std::string_view::npos ||
            m_text[m_at + m_text.substr(m_at).find_first_not_of(' ')] == ',') {
            const auto count = accept(',') ? numberArgument() : std::nullopt;
            if (!count)
                return unsupported(fromLeft ? "LEFT" : "SUBSTR");
            length = *count;
        }
        if (length < 1)
            return unsupported("un trozo de texto vacío");
        node.start = static_cast<std::size_t>(start - 1);
        node.width = static_cast<std::size_t>(length);
        return {};
    }

    Result<Node> strCall(Node argument)
    {
        if (argument.isText() || argument.field.type == FieldType::date)
            return unsupported("STR de algo que no es un número");
        int width = 10;
        int decimals = 0;
        if (accept(',')) {
            const auto given = numberArgument();
            if (!given || *given < 1)
                return unsupported("STR");
            width = *given;
            if (accept(',')) {
                const auto places = numberArgument();
                if (!places || *places > 15)
                    return unsupported("STR");
                decimals = *places;
            }
        }
        Node node;
        node.kind = Node::Kind::str;
        node.page = m_page;
        node.width = static_cast<std::size_t>(width);
        node.decimals = static_cast<std::uint8_t>(decimals);
        node.parts.push_back(std::move(argument));
        return node;
    }

    std::string_view m_text;
    std::span<const FieldDefinition> m_fields;
    CodePage m_page;
    std::size_t m_at = 0;
};

void collectFields(const Node &node, std::vector<int> &out)
{
    if (node.kind == Node::Kind::field && std::find(out.begin(), out.end(), node.fieldIndex) == out.end())
        out.push_back(node.fieldIndex);
    for (const Node &part : node.parts)
        collectFields(part, out);
}

/// The field that a part says whole; -1 for a part that says a piece, or more than one field.
int wholeFieldOf(const Node &node)
{
    switch (node.kind) {
    case Node::Kind::field:
        return node.fieldIndex;
    case Node::Kind::dtos:
    case Node::Kind::upper:
    case Node::Kind::str:
        return wholeFieldOf(node.parts.front());
    default:
        return -1;
    }
}

} // namespace

std::string KeyExpression::Node::number(std::span<const std::uint8_t> record) const
{
    const Node &source = parts.front();
    const auto value = readNumber(record, source.field);
    std::vector<std::uint8_t> out(width, 0x20);
    const FieldDefinition target{"STR", FieldType::numeric, static_cast<std::uint8_t>(width), decimals, 0};
    if (!writeNumber(out, target, value.value_or(0)).ok())
        std::fill(out.begin(), out.end(), static_cast<std::uint8_t>('*'));
    return {out.begin(), out.end()};
}

std::string KeyExpression::Node::text(std::span<const std::uint8_t> record) const
{
    switch (kind) {
    case Kind::field:
        break;
    case Kind::dtos:
        return rawBytes(record, parts.front().field);
    case Kind::str:
        return number(record);
    case Kind::upper: {
        std::string out = parts.front().text(record);
        for (char &c : out)
            c = static_cast<char>(toUpper(page, static_cast<std::uint8_t>(c)));
        return out;
    }
    case Kind::trim:
        return withoutTrailingBlanks(parts.front().text(record));
    case Kind::substr: {
        std::string out = parts.front().text(record);
        out = start < out.size() ? out.substr(start, width) : std::string();
        out.resize(width, ' ');
        return out;
    }
    case Kind::sum: {
        std::string out;
        for (const Node &part : parts)
            out += part.text(record);
        return out;
    }
    }
    if (field.type == FieldType::numeric || field.type == FieldType::floating)
        return comparableNumber(readNumber(record, field).value_or(0));
    return rawBytes(record, field);
}

Result<KeyExpression> KeyExpression::parse(std::string_view text, std::span<const FieldDefinition> fields,
                                           CodePage page)
{
    auto root = Parser(text, fields, page).whole();
    if (!root.ok())
        return root.status();
    if (root.value().width == 0 || root.value().width > maxKeyLength)
        return Status(ErrorKind::invalidArgument, "la clave del índice es demasiado larga");
    KeyExpression out;
    out.m_text = text;
    out.m_keyLength = root.value().width;
    collectFields(root.value(), out.m_fieldsUsed);
    out.m_root = std::make_shared<const Node>(std::move(root).value());
    return out;
}

IndexKey KeyExpression::keyOf(std::span<const std::uint8_t> record) const
{
    std::string bytes = m_root->text(record);
    bytes.resize(m_keyLength, ' ');
    return IndexKey(std::span(reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size()));
}

std::size_t KeyExpression::leadingLength(std::span<const int> fieldIndexes) const
{
    const std::span<const Node> parts = m_root->kind == Node::Kind::sum
                                            ? std::span<const Node>(m_root->parts)
                                            : std::span<const Node>(m_root.get(), 1);
    std::size_t length = 0;
    for (const Node &part : parts) {
        const int field = wholeFieldOf(part);
        if (field < 0 || std::find(fieldIndexes.begin(), fieldIndexes.end(), field) == fieldIndexes.end())
            break;
        length += part.width;
    }
    return length;
}

} // namespace dbase
