// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QString>
#include <array>
#include <bitset>

// Coverage of the matcher itself would distract the fuzzer from the code under test.
#define KV_UNINSTRUMENTED __attribute__((no_sanitize("coverage", "address", "undefined")))

/// The form of a reply, matched independently of the product: by the set of positions in the form
/// that the text read so far can have reached.
///
/// * any text, + decimal digits, ~ a white space, . any character, % the text of a quoted list with
/// or without its quotes; \\ makes the next character literal. Letters match in either case. The
/// position reached also guides the fuzzer, which has no coverage of QRegExp.
class ReplyForm
{
public:
    explicit ReplyForm(const QString &form)
    {
        for (int i = 0; i < form.size(); ++i) {
            const bool escaped = form.at(i) == QLatin1Char('\\');
            i += escaped ? 1 : 0;
            if (!escaped && form.at(i) == QLatin1Char('%')) {
                add({Kind::Optional, QLatin1Char('"')});
                add({Kind::Unquoted, QChar()});
                add({Kind::Optional, QLatin1Char('"')});
            } else {
                add({escaped ? Kind::Letter : kindOf(form.at(i)), form.at(i).toLower()});
            }
        }
    }

    /// Whether the whole of @p text has the form. @p furthest: the furthest place reached.
    KV_UNINSTRUMENTED bool matches(const QString &text, int *furthest = nullptr) const
    {
        Places places;
        reach(places, 0);
        Places seen = places;
        for (const QChar c : text) {
            const QChar letter = c.toLower();
            Places next;
            for (size_t place = places._Find_first(); place < end();
                 place = places._Find_next(place)) {
                step(next, place, c, letter);
            }
            places = next;
            seen |= next;
        }
        if (furthest != nullptr) {
            *furthest = m_size;
            while (!seen.test(static_cast<size_t>(*furthest))) {
                --*furthest;
            }
        }
        return places.test(end());
    }

    static constexpr int maxSize = 160;

private:
    enum class Kind { Letter, Any, Digits, Blank, One, Optional, Unquoted };

    struct Element
    {
        Kind kind = Kind::Letter;
        QChar letter;
    };

    using Places = std::bitset<maxSize + 1>;

    static Kind kindOf(QChar c)
    {
        switch (c.unicode()) {
        case '*':
            return Kind::Any;
        case '+':
            return Kind::Digits;
        case '~':
            return Kind::Blank;
        case '.':
            return Kind::One;
        default:
            return Kind::Letter;
        }
    }

    void add(Element element)
    {
        if (m_size < maxSize) {
            m_elements[static_cast<size_t>(m_size++)] = element;
        }
    }

    size_t end() const { return static_cast<size_t>(m_size); }

    // Elements that may be empty are reached together with the next element.
    KV_UNINSTRUMENTED void reach(Places &places, size_t place) const
    {
        places.set(place);
        while (place < end()) {
            const Kind kind = m_elements[place].kind;
            if (kind != Kind::Any && kind != Kind::Optional && kind != Kind::Unquoted) {
                return;
            }
            places.set(++place);
        }
    }

    KV_UNINSTRUMENTED void step(Places &next, size_t place, QChar c, QChar letter) const
    {
        const Element &element = m_elements[place];
        switch (element.kind) {
        case Kind::Any:
            reach(next, place);
            return;
        case Kind::Unquoted:
            if (c != QLatin1Char('"')) {
                reach(next, place);
            }
            return;
        case Kind::Digits:
            if (c.isDigit()) {
                next.set(place);
                reach(next, place + 1);
            }
            return;
        case Kind::Blank:
            if (c.isSpace()) {
                reach(next, place + 1);
            }
            return;
        case Kind::One:
            reach(next, place + 1);
            return;
        case Kind::Letter:
        case Kind::Optional:
            if (letter == element.letter) {
                reach(next, place + 1);
            }
            return;
        }
    }

    std::array<Element, maxSize> m_elements;
    int m_size = 0;
};
