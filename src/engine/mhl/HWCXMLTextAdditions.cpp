#include "engine/mhl/HWCXMLTextAdditions.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

namespace {

bool isSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// memchr is vectorised; std::find is not.
const char *findChar(const char *from, const char *end, char c)
{
    const void *found = from < end ? std::memchr(from, c, size_t(end - from)) : nullptr;
    return found ? static_cast<const char *>(found) : end;
}

bool isXMLCharacter(std::uint32_t c)
{
    return c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c <= 0xD7FF) ||
           (c >= 0xE000 && c <= 0xFFFD) || (c >= 0x10000 && c <= 0x10FFFF);
}

// Length of the valid UTF-8 sequence at p that encodes an XML character, or 0.
int characterLength(const unsigned char *p, const unsigned char *end)
{
    const unsigned char lead = p[0];
    int length = lead < 0x80   ? 1
                 : lead < 0xC2 ? 0
                 : lead < 0xE0 ? 2
                 : lead < 0xF0 ? 3
                 : lead < 0xF5 ? 4
                               : 0;
    if (length == 0 || end - p < length)
        return 0;
    std::uint32_t code = length == 1 ? lead : lead & (0x3F >> (length - 1));
    for (int i = 1; i < length; ++i) {
        if ((p[i] & 0xC0) != 0x80)
            return 0;
        code = code << 6 | (p[i] & 0x3F);
    }
    // Overlong forms and code points past the range are not characters either.
    static constexpr std::uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    return code >= kSmallest[length] && isXMLCharacter(code) ? length : 0;
}

QString characterProblem(std::string_view text)
{
    const auto *begin = reinterpret_cast<const unsigned char *>(text.data());
    const auto *end = begin + text.size();
    const unsigned char *p = begin;
    while (p < end) {
        // Eight ASCII bytes at a time, the usual case; tabs and line ends are checked apart.
        std::uint64_t word;
        if (end - p >= 8 && (std::memcpy(&word, p, 8), (word & 0x8080808080808080ULL) == 0)) {
            if (((word - 0x2020202020202020ULL) & 0x8080808080808080ULL) != 0) {
                for (int i = 0; i < 8; ++i) {
                    if (p[i] < 0x20 && p[i] != '\t' && p[i] != '\n' && p[i] != '\r')
                        return QStringLiteral("a byte that is not an XML character at byte %1")
                            .arg(p + i - begin);
                }
            }
            p += 8;
            continue;
        }
        const int length = characterLength(p, end);
        if (length == 0)
            return QStringLiteral("a byte that is not an XML character in UTF-8 at byte %1")
                .arg(p - begin);
        p += length;
    }
    return {};
}

// Walks the markup: comments, CDATA, processing instructions, the DOCTYPE, tags with their
// attribute values, and text between them.
class MarkupScan {
public:
    explicit MarkupScan(std::string_view text)
        : m_begin(text.data()), m_p(text.data()), m_end(text.data() + text.size())
    {
        if (text.substr(0, 3) == "\xEF\xBB\xBF")
            m_start = m_p += 3;
    }

    QString run()
    {
        while (m_p < m_end && m_problem.isEmpty()) {
            const char *tag = findChar(m_p, m_end, '<');
            checkText(tag);
            if (m_problem.isEmpty() && tag < m_end)
                markup(tag);
        }
        if (m_problem.isEmpty() && !m_rootSeen)
            fail(m_end, "no root element");
        return m_problem;
    }

private:
    void fail(const char *at, const char *what)
    {
        if (m_problem.isEmpty())
            m_problem = QStringLiteral("%1 at byte %2").arg(QLatin1String(what)).arg(at - m_begin);
    }

    bool startsWith(const char *at, std::string_view prefix) const
    {
        return std::string_view(at, size_t(m_end - at)).substr(0, prefix.size()) == prefix;
    }

    // Moves past the first terminator after from, or fails when there is none.
    void skipPast(const char *from, std::string_view terminator, const char *what)
    {
        const std::string_view rest(from, size_t(m_end - from));
        const size_t at = rest.find(terminator);
        if (at == std::string_view::npos) {
            fail(from, what);
            m_p = m_end;
            return;
        }
        m_p = from + at + terminator.size();
    }

    void checkText(const char *end)
    {
        if (m_depth == 0) {
            const char *text = std::find_if(m_p, end, [](char c) { return !isSpace(c); });
            if (text != end)
                return fail(text, "text outside the root element");
        }
        for (const char *c = findChar(m_p, end, '&'); c < end && m_problem.isEmpty();
             c = findChar(c + 1, end, '&'))
            c = reference(c);
        m_p = end;
    }

    // Checks the reference at amp and returns its last character.
    const char *reference(const char *amp)
    {
        const char *semicolon = findChar(amp, std::min(m_end, amp + 40), ';');
        const std::string_view name(amp + 1, size_t(std::max<ptrdiff_t>(semicolon - amp - 1, 0)));
        if (semicolon == m_end || *semicolon != ';') {
            fail(amp, "a '&' that starts no reference");
        } else if (name.size() > 1 && name[0] == '#') {
            const bool hex = name[1] == 'x';
            const std::string_view digits = name.substr(hex ? 2 : 1);
            std::uint32_t code = 0;
            bool valid = !digits.empty();
            for (char d : digits) {
                const int value = d >= '0' && d <= '9'          ? d - '0'
                                  : hex && d >= 'a' && d <= 'f' ? d - 'a' + 10
                                  : hex && d >= 'A' && d <= 'F' ? d - 'A' + 10
                                                                : -1;
                valid = valid && value >= 0 && code <= 0x10FFFF;
                code = code * (hex ? 16 : 10) + std::uint32_t(std::max(value, 0));
            }
            if (!valid || !isXMLCharacter(code))
                fail(amp, "a character reference to a character XML forbids");
        } else if (name != "amp" && name != "lt" && name != "gt" && name != "quot" &&
                   name != "apos") {
            fail(amp, "undefined entity");
        }
        return std::min(semicolon, m_end - 1);
    }

    void markup(const char *tag)
    {
        const char kind = tag + 1 < m_end ? tag[1] : '\0';
        if (kind == '/') {
            --m_depth;
            m_p = findChar(tag, m_end, '>') + 1;
            if (m_p > m_end)
                fail(tag, "unterminated end tag");
            m_p = std::min(m_p, m_end);
            return;
        }
        if (kind != '!' && kind != '?')
            return startTag(tag);
        if (startsWith(tag, "<!--"))
            return skipPast(tag + 4, "-->", "unterminated comment");
        if (startsWith(tag, "<![CDATA[")) {
            if (m_depth == 0)
                return fail(tag, "text outside the root element");
            return skipPast(tag + 9, "]]>", "unterminated CDATA section");
        }
        if (startsWith(tag, "<!DOCTYPE"))
            return doctype(tag);
        if (kind == '?')
            return instruction(tag);
        fail(tag, "unknown markup");
    }

    void doctype(const char *tag)
    {
        if (m_rootSeen)
            return fail(tag, "a DOCTYPE after the root element");
        bool subset = false;
        for (const char *c = tag + 9; c < m_end; ++c) {
            if (*c == '"' || *c == '\'') {
                c = findChar(c + 1, m_end, *c);
            } else if (subset && startsWith(c, "<!--")) {
                skipPast(c + 4, "-->", "unterminated comment");
                c = m_p - 1;
            } else if (*c == '[' || *c == ']') {
                subset = *c == '[';
            } else if (*c == '>' && !subset) {
                m_p = c + 1;
                return;
            }
        }
        fail(tag, "unterminated DOCTYPE");
        m_p = m_end;
    }

    void instruction(const char *tag)
    {
        const char *name = tag + 2;
        const char *nameEnd = name;
        while (nameEnd < m_end && !isSpace(*nameEnd) && *nameEnd != '?')
            ++nameEnd;
        if (nameEnd - name == 3 && (name[0] | 0x20) == 'x' && (name[1] | 0x20) == 'm' &&
            (name[2] | 0x20) == 'l' && tag != m_start)
            return fail(tag, "an XML declaration that is not at the start");
        skipPast(nameEnd, "?>", "unterminated processing instruction");
    }

    void startTag(const char *tag)
    {
        if (m_depth == 0 && m_rootSeen)
            return fail(tag, "a second root element");
        m_rootSeen = true;
        std::vector<std::string_view> names;
        const char *c = tag + 1;
        while (c < m_end && !isSpace(*c) && *c != '>' && *c != '/')
            ++c;
        while (c < m_end && m_problem.isEmpty()) {
            if (*c == '>' || startsWith(c, "/>")) {
                m_depth += *c == '>' ? 1 : 0;
                m_p = c + (*c == '>' ? 1 : 2);
                return;
            }
            if (isSpace(*c)) {
                ++c;
                continue;
            }
            const char *name = c;
            while (c < m_end && !isSpace(*c) && *c != '=' && *c != '>' && *c != '/')
                ++c;
            const std::string_view attribute(name, size_t(c - name));
            if (std::find(names.begin(), names.end(), attribute) != names.end())
                return fail(name, "a duplicate attribute");
            names.push_back(attribute);
            while (c < m_end && (isSpace(*c) || *c == '='))
                ++c;
            if (c == m_end || (*c != '"' && *c != '\''))
                return fail(c, "an attribute without a quoted value");
            c = attributeValue(c);
        }
        fail(tag, "unterminated tag");
        m_p = m_end;
    }

    // Checks the value that starts at the quote and returns what follows its closing quote.
    const char *attributeValue(const char *quote)
    {
        const char *c = quote + 1;
        for (; c < m_end && *c != *quote && m_problem.isEmpty(); ++c) {
            if (*c == '<')
                fail(c, "a '<' in an attribute value");
            else if (*c == '&')
                c = reference(c);
        }
        return std::min(c + 1, m_end);
    }

    const char *m_begin;
    const char *m_start = m_begin;
    const char *m_p;
    const char *m_end;
    int m_depth = 0;
    bool m_rootSeen = false;
    QString m_problem;
};

} // namespace

QString hwc_xmlTextProblem(std::string_view utf8)
{
    const QString characters = characterProblem(utf8);
    return characters.isEmpty() ? MarkupScan(utf8).run() : characters;
}
