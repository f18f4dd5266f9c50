#include "tools/agendatool/Arguments.h"

#include "tools/agendatool/Values.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace agendatool
{

namespace
{

using dbase::ErrorKind;
using dbase::Result;
using dbase::Status;

struct VerbShape {
    std::string_view name;
    bool hasTarget;
    bool hasRange;
    bool hasFormat;
    bool hasDay = false;  ///< a date before the target, and the option --oficial
    bool hasTable = true; ///< otherwise it is about the whole folder, and has the options of two workstations
    bool takesAll = false; ///< without a table it is about every one below the folder
};

constexpr std::array<VerbShape, 14> shapes{{{"create", false, false, false},
                                            {"info", false, false, false, false, true, true},
                                            {"dump", false, true, true},
                                            {"check", false, false, false, false, true, true},
                                            {"repair", false, false, false, false, true, true},
                                            {"reindex", false, false, false},
                                            {"pack", false, false, false},
                                            {"export", true, true, false},
                                            {"import", true, false, false},
                                            {"backup", true, false, false, false, true, true},
                                            {"restore", true, false, false},
                                            {"dia", true, false, false, true},
                                            {"semana", true, false, false, true},
                                            {"red", false, false, false, false, false}}};

Status wrong(const std::string &text)
{
    return {ErrorKind::invalidArgument, text};
}

class Parser
{
public:
    explicit Parser(const std::vector<std::string> &words)
        : m_words(words)
    {
    }

    Result<Arguments> parse()
    {
        for (m_at = 0; m_at < m_words.size(); ++m_at) {
            const std::string &word = m_words[m_at];
            if (!word.starts_with("--")) {
                m_plain.push_back(word);
                continue;
            }
            if (const Status status = option(word); !status.ok())
                return status;
        }
        if (m_made.help || m_made.version)
            return m_made;
        if (const Status status = plainWords(); !status.ok())
            return status;
        return m_made;
    }

private:
    Status option(const std::string &word)
    {
        if (word == "--help")
            m_made.help = true;
        else if (word == "--version")
            m_made.version = true;
        else if (word == "--quiet")
            m_made.quiet = true;
        else if (word == "--csv" || word == "--json")
            return format(word == "--json" ? DumpFormat::json : DumpFormat::csv);
        else if (word == "--from")
            return date(word, m_made.range.from);
        else if (word == "--to")
            return date(word, m_made.range.to);
        else if (word == "--oficial")
            return name(word, m_made.clerk.emplace());
        else if (word == "--hoja")
            m_made.sheet = true;
        else if (word == "--espera")
            m_made.waits = true;
        else if (word == "--desde-otro-puesto")
            return name(word, m_made.meeting);
        else
            return wrong("no se conoce la opción «" + word + "»");
        return {};
    }

    Status format(DumpFormat wanted)
    {
        if (m_formatGiven && m_made.format != wanted)
            return wrong("--csv y --json se excluyen");
        m_formatGiven = true;
        m_made.format = wanted;
        return {};
    }

    Status date(const std::string &option, std::optional<dbase::Date> &into)
    {
        if (++m_at >= m_words.size())
            return wrong("a " + option + " le falta la fecha");
        into = parseIsoDate(m_words[m_at]);
        return into ? Status() : wrong("«" + m_words[m_at] + "» no es una fecha AAAA-MM-DD");
    }

    Status name(const std::string &option, std::string &into)
    {
        if (++m_at >= m_words.size() || m_words[m_at].empty())
            return wrong("a " + option + " le falta el nombre");
        into = m_words[m_at];
        return {};
    }

    Status plainWords()
    {
        if (m_plain.empty())
            return wrong("falta la orden");
        const auto shape = std::find_if(shapes.begin(), shapes.end(),
                                        [&](const VerbShape &one) { return one.name == m_plain[0]; });
        if (shape == shapes.end())
            return wrong("no se conoce la orden «" + m_plain[0] + "»");
        const auto one = [](bool given) { return given ? 1U : 0U; };
        const auto words = 2U + one(shape->hasTable) + one(shape->hasTarget) + one(shape->hasDay);
        const bool all = shape->takesAll && m_plain.size() + 1 == words;
        if (m_plain.size() != words && !all)
            return wrong("la orden «" + m_plain[0] + "» lleva carpeta" +
                         (shape->hasDay      ? ", tabla, fecha y fichero"
                          : shape->hasTarget ? ", tabla y destino u origen"
                          : shape->hasTable  ? ", tabla y nada más"
                                             : " y nada más"));
        const bool ranged = m_made.range.from || m_made.range.to;
        if ((ranged && !shape->hasRange) || (m_formatGiven && !shape->hasFormat) ||
            (m_made.clerk && !shape->hasDay) || (m_made.sheet && !shape->hasRange) ||
            ((m_made.waits || !m_made.meeting.empty()) && shape->hasTable))
            return wrong("la orden «" + m_plain[0] + "» no admite esa opción");
        if (m_made.range.from && m_made.range.to && isoDate(*m_made.range.to) < isoDate(*m_made.range.from))
            return wrong("--to es anterior a --from");
        if (m_made.sheet && m_made.format == DumpFormat::json)
            return wrong("--hoja y --json se excluyen");
        if (m_made.waits && !m_made.meeting.empty())
            return wrong("--espera y --desde-otro-puesto se excluyen");
        m_made.verb = m_plain[0];
        m_made.folder = m_plain[1];
        if (shape->hasTable && !all)
            m_made.table = m_plain[2];
        if (shape->hasTarget)
            m_made.target = m_plain.back();
        if (!shape->hasDay)
            return {};
        m_made.day = parseIsoDate(m_plain[3]);
        return m_made.day ? Status() : wrong("«" + m_plain[3] + "» no es una fecha AAAA-MM-DD");
    }

    const std::vector<std::string> &m_words;
    std::size_t m_at = 0;
    std::vector<std::string> m_plain;
    bool m_formatGiven = false;
    Arguments m_made;
};

} // namespace

Result<Arguments> parseArguments(const std::vector<std::string> &words)
{
    return Parser(words).parse();
}

} // namespace agendatool
