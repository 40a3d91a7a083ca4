// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QString>
#include <array>
#include <bitset>

// The matcher's own branches would drown those of the code under test.
#define KV_NOT_COUNTED __attribute__((no_sanitize("coverage", "address", "undefined")))

/// What a reply looks like, written down a second time and matched by other means than the product
/// has: a set of places in the shape that the text read so far can have reached.
///
/// * any text, + decimal digits, ~ a white space, . any character, % the text of a quoted list with
/// or without its quotes; \\ takes the meaning from the character behind it. Letters match in
/// either case. Being instrumented, the matcher also shows the fuzzer how far an input has come,
/// which the engine that the product uses can't.
class ReplyShape
{
public:
    explicit ReplyShape(const QString &shape)
    {
        for (int i = 0; i < shape.size(); ++i) {
            const bool escaped = shape.at(i) == QLatin1Char('\\');
            i += escaped ? 1 : 0;
            if (!escaped && shape.at(i) == QLatin1Char('%')) {
                add({Kind::Optional, QLatin1Char('"')});
                add({Kind::Unquoted, QChar()});
                add({Kind::Optional, QLatin1Char('"')});
            } else {
                add({escaped ? Kind::Letter : kindOf(shape.at(i)), shape.at(i).toLower()});
            }
        }
    }

    /// Whether the whole of @p text has the shape. @p furthest: the furthest place reached.
    KV_NOT_COUNTED bool matches(const QString &text, int *furthest = nullptr) const
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

    // Elements that may stand for nothing are reached together with what follows them.
    KV_NOT_COUNTED void reach(Places &places, size_t place) const
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

    KV_NOT_COUNTED void step(Places &next, size_t place, QChar c, QChar letter) const
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
