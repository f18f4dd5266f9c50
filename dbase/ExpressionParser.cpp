// From the text of an expression to its tree.

#include "dbase/Expression.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <optional>
#include <utility>

namespace dbase
{

namespace
{

using Node = ExpressionNode;
constexpr int maxDepth = 32;

Node::Type typeOf(FieldType type)
{
    switch (type) {
    case FieldType::character:
        break;
    case FieldType::date:
        return Node::Type::date;
    case FieldType::numeric:
    case FieldType::floating:
        return Node::Type::number;
    case FieldType::logical:
        return Node::Type::truth;
    }
    return Node::Type::text;
}

class Parser
{
public:
    Parser(std::string_view text, std::span<const FieldDefinition> fields, CodePage page, ExpressionUse use)
        : m_text(text)
        , m_fields(fields)
        , m_page(page)
        , m_filter(use == ExpressionUse::filter)
    {
    }

    Result<Node> whole()
    {
        auto node = inner(0);
        if (!node.ok())
            return node;
        if (m_filter && node.value().type != Node::Type::truth)
            return unsupported("un filtro que no dice sí o no");
        skipBlanks();
        if (m_at != m_text.size())
            return unsupported(std::string(m_text.substr(m_at)));
        return node;
    }

private:
    [[nodiscard]] Status unsupported(const std::string &what) const
    {
        return {ErrorKind::unsupported, std::string(m_filter ? "el filtro" : "la expresión") +
                                            " del índice usa algo que no se conoce: «" + what + "»"};
    }

    /// What may stand in parentheses.
    Result<Node> inner(int depth) { return m_filter ? disjunction(depth) : sum(depth); }

    /// A word between points, such as .AND.
    bool acceptWord(std::string_view wanted)
    {
        skipBlanks();
        if (m_text.size() - m_at < wanted.size())
            return false;
        const auto same = [](unsigned char a, unsigned char b) { return std::toupper(a) == b; };
        if (!std::equal(wanted.begin(), wanted.end(), m_text.begin() + static_cast<std::ptrdiff_t>(m_at),
                        [&](char w, char c) {
                            return same(static_cast<unsigned char>(c), static_cast<unsigned char>(w));
                        }))
            return false;
        m_at += wanted.size();
        return true;
    }

    /// Truth values with one word between them.
    template <class Operand>
    Result<Node> joined(Node::Kind kind, std::string_view word, const Operand &operand)
    {
        auto left = operand();
        if (!left.ok() || !acceptWord(word))
            return left;
        Node node;
        node.kind = kind;
        node.type = Node::Type::truth;
        node.parts.push_back(std::move(left).value());
        do {
            auto right = operand();
            if (!right.ok())
                return right;
            node.parts.push_back(std::move(right).value());
        } while (acceptWord(word));
        const auto isTruth = [](const Node &part) { return part.type == Node::Type::truth; };
        if (!std::all_of(node.parts.begin(), node.parts.end(), isTruth))
            return unsupported(std::string(word) + " con algo que no dice sí o no");
        return node;
    }

    Result<Node> disjunction(int depth)
    {
        return joined(Node::Kind::disjunction, ".OR.", [this, depth] {
            return joined(Node::Kind::conjunction, ".AND.", [this, depth] { return negation(depth); });
        });
    }

    Result<Node> negation(int depth)
    {
        if (depth > maxDepth)
            return unsupported("demasiados paréntesis");
        if (!acceptWord(".NOT."))
            return comparison(depth);
        auto operand = negation(depth + 1);
        if (!operand.ok())
            return operand;
        if (operand.value().type != Node::Type::truth)
            return unsupported(".NOT. con algo que no dice sí o no");
        Node node;
        node.kind = Node::Kind::negation;
        node.type = Node::Type::truth;
        node.parts.push_back(std::move(operand).value());
        return node;
    }

    std::optional<Node::Operator> comparisonSign()
    {
        using Operator = Node::Operator;
        if (accept('='))
            return m_at < m_text.size() && m_text[m_at] == '=' ? std::nullopt
                                                               : std::optional(Operator::equal);
        if (accept('#'))
            return Operator::unequal;
        if (accept('<'))
            return accept('>') ? Operator::unequal : accept('=') ? Operator::lessOrEqual : Operator::less;
        if (accept('>'))
            return accept('=') ? Operator::greaterOrEqual : Operator::greater;
        return std::nullopt;
    }

    Result<Node> comparison(int depth)
    {
        auto left = sum(depth);
        if (!left.ok())
            return left;
        const auto sign = comparisonSign();
        if (!sign)
            return left;
        auto right = sum(depth);
        if (!right.ok())
            return right;
        if (left.value().type != right.value().type || left.value().type == Node::Type::truth)
            return unsupported("una comparación de cosas distintas");
        Node node;
        node.kind = Node::Kind::comparison;
        node.type = Node::Type::truth;
        node.comparing = *sign;
        node.parts.push_back(std::move(left).value());
        node.parts.push_back(std::move(right).value());
        return node;
    }

    /// A constant, when one stands here.
    Result<std::optional<Node>> constant()
    {
        skipBlanks();
        const char c = m_at < m_text.size() ? m_text[m_at] : '\0';
        Node node;
        node.kind = Node::Kind::constant;
        if (c == '"' || c == '\'' || c == '[') {
            const auto end = m_text.find(c == '[' ? ']' : c, m_at + 1);
            if (end == std::string_view::npos)
                return unsupported("un texto sin cerrar");
            node.textValue = m_text.substr(m_at + 1, end - m_at - 1);
            node.width = node.textValue.size();
            m_at = end + 1;
            return std::optional(std::move(node));
        }
        if (c == '{')
            return dateConstant();
        if (c == '-' || std::isdigit(static_cast<unsigned char>(c)) != 0) {
            // Digits with a point between them; a point behind them may begin the next word.
            std::size_t end = m_at + 1;
            while (end < m_text.size() && (std::isdigit(static_cast<unsigned char>(m_text[end])) != 0 ||
                                           (m_text[end] == '.' && end + 1 < m_text.size() &&
                                            std::isdigit(static_cast<unsigned char>(m_text[end + 1])) != 0)))
                ++end;
            const auto [stop, error] = std::from_chars(m_text.data() + m_at, m_text.data() + end,
                                                       node.numberValue, std::chars_format::fixed);
            if (error != std::errc() || stop != m_text.data() + end)
                return unsupported(std::string(m_text.substr(m_at, end - m_at)));
            node.type = Node::Type::number;
            m_at = end;
            return std::optional(std::move(node));
        }
        for (const char *const word : {".T.", ".Y.", ".F.", ".N."}) {
            if (!acceptWord(word))
                continue;
            node.type = Node::Type::truth;
            node.numberValue = word[1] == 'T' || word[1] == 'Y' ? 1 : 0;
            return std::optional(std::move(node));
        }
        return std::optional<Node>();
    }

    /// {} or {2026-01-31}; {31/01/2026} too, when it cannot be meant in two ways.
    Result<std::optional<Node>> dateConstant()
    {
        const auto end = m_text.find('}', m_at);
        if (end == std::string_view::npos)
            return unsupported("una fecha sin cerrar");
        const std::string_view whole = m_text.substr(m_at, end + 1 - m_at);
        m_at = end + 1;
        std::vector<std::string> numbers(1);
        for (const char c : whole.substr(1, whole.size() - 2)) {
            if (std::isdigit(static_cast<unsigned char>(c)) != 0)
                numbers.back() += c;
            else if (c == '/' || c == '-' || c == '.')
                numbers.emplace_back();
            else if (c != ' ' && c != '^')
                return unsupported(std::string(whole));
        }
        Node node;
        node.kind = Node::Kind::constant;
        node.type = Node::Type::date;
        node.numberValue = blankDateNumber;
        if (std::all_of(numbers.begin(), numbers.end(), [](const std::string &n) { return n.empty(); }))
            return std::optional(std::move(node));
        if (numbers.size() != 3 || std::any_of(numbers.begin(), numbers.end(), [](const std::string &n) {
                return n.empty() || n.size() > 4;
            }))
            return unsupported(std::string(whole));
        const std::array<int, 3> n{std::stoi(numbers[0]), std::stoi(numbers[1]), std::stoi(numbers[2])};
        Date date;
        if (numbers[0].size() == 4)
            date = {n[0], n[1], n[2]};
        else if (numbers[2].size() == 4 && (n[0] > 12 || n[0] == n[1]))
            date = {n[2], n[1], n[0]};
        else if (numbers[2].size() == 4 && n[1] > 12)
            date = {n[2], n[0], n[1]};
        const FieldDefinition field{"D", FieldType::date, 8, 0, 0};
        std::array<std::uint8_t, 8> real{};
        if (!writeDate(real, field, date).ok())
            return unsupported(std::string(whole));
        node.numberValue = date.year * 10000 + date.month * 100 + date.day;
        return std::optional(std::move(node));
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
            if (part.type != Node::Type::text)
                return unsupported("una suma con algo que no es texto");
            node.width += part.width;
        }
        return node;
    }

    Result<Node> term(int depth)
    {
        if (accept('(')) {
            auto within = inner(depth + 1);
            if (within.ok() && !accept(')'))
                return unsupported("un paréntesis sin cerrar");
            return within;
        }
        if (m_filter) {
            auto known = constant();
            if (!known.ok())
                return known.status();
            if (known.value())
                return std::move(*known.value());
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
            if (m_fields[i].type == FieldType::logical && !m_filter)
                return unsupported(name);
            Node node;
            node.field = m_fields[i];
            node.fieldIndex = static_cast<int>(i);
            node.page = m_page;
            node.type = typeOf(node.field.type);
            node.width = node.type == Node::Type::number ? 8 : node.field.width;
            return node;
        }
        return Status(ErrorKind::invalidArgument,
                      "la expresión del índice usa un campo que la tabla no tiene: " + name);
    }

    Result<Node> call(const std::string &name, int depth)
    {
        Node node;
        node.page = m_page;
        if (m_filter && name == "DELETED") {
            node.kind = Node::Kind::deleted;
            node.type = Node::Type::truth;
            return node;
        }
        auto argument = sum(depth + 1);
        if (!argument.ok())
            return argument;
        const Node &given = argument.value();
        if (name == "DTOS") {
            if (given.kind != Node::Kind::field || given.field.type != FieldType::date)
                return unsupported("DTOS de algo que no es una fecha");
            node.kind = Node::Kind::dtos;
            node.width = 8;
        } else if (name == "STR") {
            return strCall(std::move(argument).value());
        } else if (given.type != Node::Type::text) {
            return unsupported(name + " de algo que no es texto");
        } else if (name == "UPPER") {
            node.kind = Node::Kind::upper;
            node.width = given.width;
        } else if (name == "TRIM" || name == "RTRIM") {
            node.kind = Node::Kind::trim;
            node.width = given.width;
        } else if (name == "SUBSTR" || name == "LEFT") {
            node.kind = Node::Kind::substr;
            if (const Status status = pieceArguments(name == "LEFT", node, given.width); !status.ok())
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
        if (argument.type != Node::Type::number)
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
    bool m_filter;
    std::size_t m_at = 0;
};

} // namespace

Result<ExpressionNode> compileExpression(std::string_view text, std::span<const FieldDefinition> fields,
                                         CodePage page, ExpressionUse use)
{
    return Parser(text, fields, page, use).whole();
}

} // namespace dbase
