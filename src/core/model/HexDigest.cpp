#include "model/HexDigest.h"

namespace {

int hexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return -1; // upper case too: it would not read back the same
}

} // namespace

HexDigest::HexDigest(const HexDigest& other)
{
    *this = other;
}

HexDigest::HexDigest(HexDigest&& other) noexcept
{
    std::memcpy(m_bytes, other.m_bytes, sizeof m_bytes);
    m_kind = other.m_kind;
    other.m_kind = Empty;
}

HexDigest& HexDigest::operator=(const HexDigest& other)
{
    if (this == &other)
        return *this;
    if (other.m_kind == Text)
        return *this = *other.text();
    clear();
    std::memcpy(m_bytes, other.m_bytes, sizeof m_bytes);
    m_kind = other.m_kind;
    return *this;
}

HexDigest& HexDigest::operator=(HexDigest&& other) noexcept
{
    if (this != &other) {
        clear();
        std::memcpy(m_bytes, other.m_bytes, sizeof m_bytes);
        m_kind = other.m_kind;
        other.m_kind = Empty;
    }
    return *this;
}

HexDigest& HexDigest::operator=(const QByteArray& text)
{
    assign(text);
    return *this;
}

void HexDigest::clear()
{
    if (m_kind == Text)
        delete text();
    m_kind = Empty;
}

void HexDigest::assign(const QByteArray& text)
{
    clear();
    if (text.isEmpty())
        return;
    if (text.size() == 32) {
        unsigned char raw[16];
        bool hex = true;
        for (int i = 0; i < 16 && hex; ++i) {
            const int high = hexValue(text[2 * i]);
            const int low = hexValue(text[2 * i + 1]);
            hex = high >= 0 && low >= 0;
            raw[i] = static_cast<unsigned char>(high << 4 | low);
        }
        if (hex) {
            std::memcpy(m_bytes, raw, sizeof raw);
            m_kind = Raw;
            return;
        }
    }
    QByteArray* copy = new QByteArray(text);
    std::memcpy(m_bytes, &copy, sizeof copy);
    m_kind = Text;
}

QByteArray HexDigest::toByteArray() const
{
    switch (m_kind) {
    case Raw:
        return QByteArray::fromRawData(reinterpret_cast<const char*>(m_bytes), sizeof m_bytes).toHex();
    case Text:
        return *text();
    case Empty:
        break;
    }
    return {};
}

bool operator==(const HexDigest& a, const HexDigest& b)
{
    // Each text has one form, so different forms never hold the same text.
    if (a.m_kind != b.m_kind)
        return false;
    switch (a.m_kind) {
    case HexDigest::Raw:
        return std::memcmp(a.m_bytes, b.m_bytes, sizeof a.m_bytes) == 0;
    case HexDigest::Text:
        return *a.text() == *b.text();
    case HexDigest::Empty:
        break;
    }
    return true;
}

size_t HexDigest::hash(size_t seed) const noexcept
{
    switch (m_kind) {
    case Raw:
        return qHashBits(m_bytes, sizeof m_bytes, seed);
    case Text:
        return qHash(*text(), seed);
    case Empty:
        break;
    }
    return seed;
}
