// SPDX-License-Identifier: MIT
#include "devices/repeatedkeys.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QVector>

#include <algorithm>
#include <string_view>
#include <utility>

namespace {

// As in Qt's parser, which reads nothing that is nested deeper.
constexpr int nestingLimit = 1024;

constexpr std::string_view blanks = " \t\n\r";
constexpr std::string_view scalarEnds = " \t\n\r\"[]{}:,";

bool isOneOf(std::string_view characters, char character)
{
    return characters.find(character) != std::string_view::npos;
}

// Walks the text, and stops where the parser fails at the latest. It may go further than the parser inside of
// strings, numbers and literals, which it does not check.
class Scanner {
public:
    explicit Scanner(QByteArray json)
        : m_json(std::move(json))
    {
    }

    QByteArray scanned()
    {
        if (m_json.startsWith("\xef\xbb\xbf"))
            m_at = 3;
        skipBlanks();
        scanValue();
        return m_json;
    }

private:
    struct Slice {
        int begin;
        int size;
    };
    struct Member {
        Slice key;
        Slice value;
        bool isContainer;
    };

    char current() const { return m_at < m_json.size() ? m_json.at(m_at) : '\0'; }

    bool take(char character)
    {
        if (current() != character)
            return false;
        ++m_at;
        return true;
    }

    void skipBlanks()
    {
        while (m_at < m_json.size() && isOneOf(blanks, m_json.at(m_at)))
            ++m_at;
    }

    // Each of these returns false where the parser cannot get further.

    bool scanValue()
    {
        switch (current()) {
        case '"':
            return scanString();
        case '[':
            return scanNested(']', &Scanner::scanElements);
        case '{':
            return scanNested('}', &Scanner::scanMembers);
        default:
            return scanScalar();
        }
    }

    bool scanString()
    {
        for (++m_at; m_at < m_json.size(); ++m_at) {
            if (m_json.at(m_at) == '"') {
                ++m_at;
                return true;
            }
            if (m_json.at(m_at) == '\\')
                ++m_at;
        }
        return false;
    }

    bool scanScalar()
    {
        const int begin = m_at;
        while (m_at < m_json.size() && !isOneOf(scalarEnds, m_json.at(m_at)))
            ++m_at;
        return m_at > begin;
    }

    bool scanNested(char end, bool (Scanner::*scanContent)())
    {
        if (++m_nesting > nestingLimit)
            return false;
        ++m_at;
        skipBlanks();
        if (current() != end && !(this->*scanContent)())
            return false;
        --m_nesting;
        return take(end);
    }

    bool scanElements()
    {
        do {
            skipBlanks();
            if (!scanValue())
                return false;
            skipBlanks();
        } while (take(','));
        return true;
    }

    bool scanMembers()
    {
        QVector<Member> members;
        do {
            skipBlanks();
            Member member {};
            member.key.begin = m_at;
            if (current() != '"' || !scanString())
                return false;
            member.key.size = m_at - member.key.begin;
            skipBlanks();
            if (!take(':'))
                return false;
            skipBlanks();
            member.isContainer = current() == '[' || current() == '{';
            member.value.begin = m_at;
            if (!scanValue())
                return false;
            member.value.size = m_at - member.value.begin;
            members.append(member);
            skipBlanks();
        } while (take(','));
        if (current() == '}')
            overwriteRepeated(members);
        return true;
    }

    void overwriteRepeated(const QVector<Member>& members)
    {
        if (std::none_of(members.cbegin(), members.cend() - 1,
                         [](const Member& member) { return member.isContainer; }))
            return;
        const QVector<bool> isKept = keptByParser(members);
        for (int i = 0; i < members.size(); ++i) {
            if (members.at(i).isContainer && !isKept.at(i))
                overwrite(members.at(i).value);
        }
    }

    // The parser itself tells, with the members' numbers as values: which keys are the same is not always
    // clear, for its order of escaped and other keys is not the same one.
    QVector<bool> keptByParser(const QVector<Member>& members) const
    {
        QByteArray numbered;
        for (int i = 0; i < members.size(); ++i) {
            const Slice key = members.at(i).key;
            numbered += (i == 0 ? '{' : ',') + m_json.mid(key.begin, key.size) + ':' + QByteArray::number(i);
        }
        const QJsonObject kept = QJsonDocument::fromJson(numbered + '}').object();
        QVector<bool> isKept(members.size());
        for (const QJsonValue& number : kept)
            isKept[number.toInt()] = true;
        return isKept;
    }

    void overwrite(Slice value)
    {
        // What the parser fails at must stay. Values further in are overwritten already, so this parser loses
        // none.
        QJsonParseError error {};
        QJsonDocument::fromJson(m_json.mid(value.begin, value.size), &error);
        if (error.error != QJsonParseError::NoError)
            return;
        auto* const begin = m_json.begin() + value.begin;
        std::fill(begin, begin + value.size, ' ');
        *begin = '0';
    }

    QByteArray m_json;
    int m_at = 0;
    int m_nesting = 0;
};

} // namespace

QByteArray withoutRepeatedContainers(const QByteArray& json)
{
    return Scanner(json).scanned();
}
