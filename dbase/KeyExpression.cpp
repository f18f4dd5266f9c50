#include "dbase/KeyExpression.h"

#include "dbase/Expression.h"

#include <utility>

namespace dbase
{

namespace
{

using Node = ExpressionNode;

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

Result<KeyExpression> KeyExpression::parse(std::string_view text, std::span<const FieldDefinition> fields,
                                           CodePage page)
{
    auto root = compileExpression(text, fields, page, ExpressionUse::key);
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
