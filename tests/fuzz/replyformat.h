// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QString>
#include <QtCore/QVector>
#include <bitset>

// Coverage of the matcher itself would distract the fuzzer from the code under test.
#define KV_UNINSTRUMENTED __attribute__((no_sanitize("coverage", "address", "undefined")))

/// The format of a reply, matched independently of the product: keeps the set of positions in the
/// format that the text read so far can have reached.
///
/// In a format, * is any text, + decimal digits, ~ a whitespace character, . any character, % the
/// text of a list with or without quotes around it; \\ makes the next character literal. Letters
/// match in either case. The position reached also guides the fuzzer, which has no coverage of
/// QRegExp.
class ReplyFormat
{
public:
    explicit ReplyFormat(const QString &format)
    {
        for (int i = 0; i < format.size(); ++i) {
            const QChar character = format.at(i);
            if (character == QLatin1Char('\\')) {
                m_elements.append({Literal, format.at(++i).toLower()});
            } else if (character == QLatin1Char('%')) {
                const Element quote{Quote, QLatin1Char('"')};
                m_elements << quote << Element{Unquoted, character} << quote;
            } else {
                const bool isSpecial = QStringLiteral("*+~.").contains(character);
                m_elements.append(
                    {isSpecial ? Kind(character.unicode()) : Literal, character.toLower()});
            }
        }
    }

    /// Whether the whole of @p text has the format. Sets @p furthest to the furthest position
    /// reached.
    KV_UNINSTRUMENTED bool matches(const QString &text, int *furthest = nullptr) const
    {
        Positions positions;
        reach(positions, 0);
        Positions allReached = positions;
        for (const QChar character : text) {
            const QChar letter = character.toLower();
            Positions nextPositions;
            for (size_t i = positions._Find_first(); i < end(); i = positions._Find_next(i)) {
                const Element &element = m_elements[static_cast<int>(i)];
                if (accepts(element, character, letter)) {
                    nextPositions.set(i, nextPositions.test(i) || repeats(element.kind));
                    reach(nextPositions, i + 1);
                }
            }
            positions = nextPositions;
            allReached |= nextPositions;
        }
        if (furthest != nullptr) {
            for (*furthest = m_elements.size(); !allReached.test(static_cast<size_t>(*furthest));) {
                --*furthest;
            }
        }
        return positions.test(end());
    }

    static constexpr int maxSize = 160;

private:
    enum Kind : ushort {
        Literal,
        Quote, ///< optional
        Unquoted, ///< any text without quotes
        Any = '*',
        Digits = '+',
        Blank = '~',
        One = '.'
    };

    struct Element
    {
        Kind kind;
        QChar letter;
    };

    using Positions = std::bitset<maxSize + 1>;

    size_t end() const { return static_cast<size_t>(m_elements.size()); }

    KV_UNINSTRUMENTED static bool repeats(Kind kind)
    {
        return kind == Any || kind == Unquoted || kind == Digits;
    }

    KV_UNINSTRUMENTED static bool mayBeEmpty(Kind kind)
    {
        return kind == Any || kind == Unquoted || kind == Quote;
    }

    KV_UNINSTRUMENTED static bool accepts(const Element &element, QChar character, QChar letter)
    {
        switch (element.kind) {
        case Any:
        case One:
            return true;
        case Digits:
            return character.isDigit();
        case Blank:
            return character.isSpace();
        case Unquoted:
            return character != QLatin1Char('"');
        default:
            return letter == element.letter;
        }
    }

    /// Elements that may be empty are reached together with the next element.
    KV_UNINSTRUMENTED void reach(Positions &positions, size_t i) const
    {
        positions.set(i);
        while (i < end() && mayBeEmpty(m_elements[static_cast<int>(i)].kind)) {
            positions.set(++i);
        }
    }

    QVector<Element> m_elements; ///< at most maxSize
};
