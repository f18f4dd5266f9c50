// The index file of a table and its tags: taking them in, and making those that are missing.

#include "dbase/TableImpl.h"

#include <algorithm>

namespace dbase
{

namespace
{

constexpr std::uint64_t indexFlagOffset = 28;

} // namespace

Status TableImpl::openIndex()
{
    const std::filesystem::path file = sibling(".MDX");
    auto opened = MdxFile::open(file, readOnly ? File::Mode::readOnly : File::Mode::readWrite);
    if (!opened.ok() && opened.status().kind() == ErrorKind::readOnly && !readOnly) {
        // Lines would be written that the index does not know.
        readOnly = true;
        readOnlyReason = "no hay permiso para escribir en el índice";
        opened = MdxFile::open(file, File::Mode::readOnly);
    }
    if (!opened.ok()) {
        const ErrorKind kind = opened.status().kind();
        if (kind == ErrorKind::inputOutput)
            return opened.status();
        m_indexSuspect = kind != ErrorKind::notFound;
        return {};
    }
    m_mdx = std::move(opened).value();
    auto lock = waitForLock(m_mdx->file(), headerLockOffset, 1, File::LockKind::shared, options.lockTimeout,
                            "otro puesto está escribiendo en el índice");
    if (!lock.ok())
        return lock.status();
    m_mdxLock = std::move(lock).value(); // a member, so that it never outlives the file
    Status status = m_mdx->load();
    if (status.kind() == ErrorKind::damaged || status.kind() == ErrorKind::unsupported) {
        status = takeToldTags(status);
    } else if (status.ok()) {
        status = readTags();
    }
    m_mdxLock.release();
    return status;
}

/// An index file that cannot be read as it is will be written anew, with the orders that it still tells and
/// those that the opener counts on. Where neither are known, writing would leave it without what it had.
Status TableImpl::takeToldTags(const Status &why)
{
    auto told = m_mdx->told();
    m_indexSuspect = true;
    dropIndexFile();
    if (!told.ok())
        return told.status();
    bool all = told.value().all;
    for (const MdxTag &tag : told.value().tags) {
        TagDefinition one{tag.name, tag.expression, tag.descending, tag.unique, tag.filter};
        if (TagRule::of(one, header.fields, header.codePage).ok())
            m_toldTags.push_back(std::move(one));
        else
            all = false;
    }
    if (all || !header.hasProductionIndex || readOnly)
        return {};
    if (options.tags.empty()) {
        m_indexUnused = true;
        readOnly = true;
        readOnlyReason = "no se puede saber qué órdenes tiene el índice: " + why.text();
        return {};
    }
    addNotice(
        "el índice no se podía leer (" + why.text() +
        ") y se ha hecho de nuevo. Si otros programas tenían en él órdenes suyos, hay que volver a crearlos");
    return {};
}

/// An index may be in the middle of a question when a repair reads the tags anew, and callers keep pointers:
/// nothing of it is thrown away before the table is closed.
void TableImpl::retireIndexes()
{
    for (auto &index : m_indexes) {
        index->retire();
        m_retiredIndexes.push_back(std::move(index));
    }
    m_indexes.clear();
}

/// For a table that takes no changes, and so cannot repair: others may have made the index anew, with its
/// blocks in other places. What cannot be taken in now stays as it is known, until the next question.
void TableImpl::reloadIndexForReading()
{
    auto lock = waitForLock(m_mdx->file(), headerLockOffset, 1, File::LockKind::shared, options.lockTimeout,
                            "otro puesto está escribiendo en el índice");
    if (!lock.ok())
        return;
    m_mdxLock = std::move(lock).value(); // a member, so that it never outlives the file
    m_indexSuspect = !m_mdx->load().ok() || !readTags().ok();
    m_mdxLock.release();
}

/// The table goes on without its index file.
void TableImpl::dropIndexFile()
{
    m_mdxLock.release();
    retireIndexes();
    m_mdx.reset();
}

/// The same with its orders kept in memory; each is built when it is first asked for.
void TableImpl::goOnWithoutIndexFile()
{
    for (const auto &one : m_indexes)
        m_memoryTags.push_back({std::make_unique<MemoryIndex>(one->definition(), one->rule()), 0});
    m_indexUnused = true;
    dropIndexFile();
}

/// Whether a tag's keys have the kind and length that its expression gives.
bool TableImpl::keysFit(const MdxTag &tag, const KeyExpression &expression) const
{
    return tag.keyType == keyTypeOf(expression) &&
           (tag.keyType != KeyType::character || static_cast<int>(expression.keyLength()) == tag.keyLength);
}

/// A lone date or number is kept as such; everything else as text.
KeyType TableImpl::keyTypeOf(const KeyExpression &expression) const
{
    const std::vector<int> &used = expression.fieldsUsed();
    if (used.size() != 1)
        return KeyType::character;
    const FieldDefinition &field = header.fields[static_cast<std::size_t>(used[0])];
    if (!sameText(field.name, expression.text()))
        return KeyType::character;
    switch (field.type) {
    case FieldType::date:
        return KeyType::date;
    case FieldType::numeric:
    case FieldType::floating:
        return KeyType::numeric;
    default:
        return KeyType::character;
    }
}

/// Why a tag of the index file cannot be kept as its programs expect it; empty when it can.
std::string TableImpl::whyNotKept(const MdxTag &tag, const Result<TagRule> &rule) const
{
    if (tag.distinct)
        return "no admite claves repetidas";
    if (tag.filtered && tag.filter.empty())
        return "dice tener un filtro y no lo trae";
    if (tag.expression.size() > mdxMaxExpression || tag.filter.size() > mdxMaxExpression)
        return "su expresión no acaba";
    if (!rule.ok())
        return rule.status().text();
    if (!keysFit(tag, rule.value().expression))
        return "sus claves no son las de su expresión";
    if (tag.descending) {
        MdxCursor first(*m_mdx, tag);
        MdxCursor last(*m_mdx, tag);
        first.first();
        last.last();
        if (first.valid() && last.valid() &&
            tag.compare(first.key(), last.key(), static_cast<std::size_t>(tag.keyLength)) > 0)
            return "es descendente y sus claves están guardadas en orden ascendente";
    }
    return {};
}

Status TableImpl::readTags()
{
    retireIndexes();
    std::string refusal;
    for (std::size_t number = 0; number < m_mdx->tags().size(); ++number) {
        const MdxTag &tag = m_mdx->tags()[number];
        TagDefinition definition{tag.name, tag.expression, tag.descending, tag.unique, tag.filter};
        auto rule = TagRule::of(definition, header.fields, header.codePage);
        if (const std::string why = whyNotKept(tag, rule); !why.empty())
            refusal = "el orden «" + tag.name + "» del índice no se puede mantener: " + why;
        else
            m_indexes.push_back(
                std::make_unique<MdxIndex>(*this, number, std::move(definition), std::move(rule).value()));
    }
    if (refusal.empty())
        return {};
    // Writing would leave the tag out of date, and other programs trust it.
    readOnly = true;
    readOnlyReason = refusal;
    goOnWithoutIndexFile();
    return {};
}

/// Makes the tags that the opener counts on, in the index file where it can be written and in memory
/// elsewhere.
Status TableImpl::needTags()
{
    std::vector<TagDefinition> missing;
    for (const TagDefinition &wanted : options.tags) {
        Index *const known = index(wanted.name);
        if (!known) {
            missing.push_back(wanted);
        } else if (!sameOrder(known->definition(), wanted)) {
            // The file's tag of that name orders by something else, or does without some of the lines: the
            // caller gets what it asked for, in memory.
            if (const Status status = addMemoryTag(wanted); !status.ok())
                return status;
        }
    }
    if (missing.empty())
        return {};
    if (!readOnly)
        return makeIndex(missing);
    for (const TagDefinition &wanted : missing) {
        if (const Status status = addMemoryTag(wanted); !status.ok())
            return status;
    }
    return {};
}

/// The tag as an index file describes it, its tree still to be built.
MdxTag TableImpl::newTag(const TagDefinition &wanted, const KeyExpression &expression) const
{
    MdxTag tag;
    tag.name = wanted.name;
    tag.expression = wanted.expression;
    tag.descending = wanted.descending;
    tag.unique = wanted.unique;
    tag.filter = wanted.filter;
    tag.keyType = keyTypeOf(expression);
    tag.keyLength = tag.keyType == KeyType::date      ? 8
                    : tag.keyType == KeyType::numeric ? 12
                                                      : static_cast<int>(expression.keyLength());
    tag.itemLength = mdxItemLength(tag.keyLength);
    tag.maxItems = mdxItemsPerBlock(tag.itemLength);
    return tag;
}

/// In place of an index file that cannot be read.
Status TableImpl::makeIndexAnew()
{
    std::vector<TagDefinition> wanted = m_toldTags;
    for (const TagDefinition &one : options.tags) {
        if (std::none_of(wanted.begin(), wanted.end(),
                         [&one](const TagDefinition &other) { return sameText(one.name, other.name); }))
            wanted.push_back(one);
    }
    const Status status = wanted.empty() ? Status() : makeIndex(wanted);
    if (status.ok())
        m_indexSuspect = false;
    return status;
}

Status TableImpl::makeIndex(std::span<const TagDefinition> wanted)
{
    if (const Status status = beginChange(); !status.ok())
        return status;
    Status status;
    const bool isNewFile = !m_mdx;
    if (isNewFile) {
        const std::filesystem::path file = sibling(".MDX");
        auto made = MdxFile::createBeside(m_dbf, file);
        if (!made.ok() && made.status().kind() == ErrorKind::invalidArgument) {
            // There is one already: it is written anew in its place, others may have it open.
            made = MdxFile::open(file, File::Mode::readWrite);
        }
        if (made.ok()) {
            m_mdx = std::move(made).value(); // rewriteIndex() takes its lock
        } else {
            status = made.status();
        }
    }
    std::vector<MdxTag> tags;
    std::vector<TagRule> rules;
    if (status.ok()) {
        tags = m_mdx->tags();
        for (const auto &known : m_indexes)
            rules.push_back(known->rule());
    }
    for (const TagDefinition &one : wanted) {
        auto rule = TagRule::of(one, header.fields, header.codePage);
        if (!rule.ok()) {
            status = failure(rule.status().kind(), rule.status().text());
            break;
        }
        if (one.expression.size() > mdxMaxExpression || one.filter.size() > mdxMaxExpression) {
            status = failure(ErrorKind::invalidArgument, "la expresión del orden es demasiado larga");
            break;
        }
        tags.push_back(newTag(one, rule.value().expression));
        rules.push_back(std::move(rule).value());
    }
    if (status.ok() && tags.size() > static_cast<std::size_t>(mdxMaxTags))
        status = failure(ErrorKind::full, "el índice no admite más órdenes");
    if (status.ok())
        status = rewriteIndex(tags, rules);
    if (status.ok() && !header.hasProductionIndex) {
        const std::vector<std::uint8_t> flag{1};
        status = m_dbf.writeAt(indexFlagOffset, flag);
        header.hasProductionIndex = status.ok();
    }
    if (status.ok())
        status = syncFolder(path.parent_path());
    if (status.ok())
        status = checkpoint(false);
    if (!status.ok() && isNewFile)
        dropIndexFile(); // whose tags are not known yet; tried again when it is next needed
    endChange();
    return status;
}

} // namespace dbase
