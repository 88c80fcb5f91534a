#pragma once

#include <QByteArray>
#include <QHashFunctions>
#include <cstring>

// A content digest as the records keep it: reads and assigns as its lower-case hex text, but
// a 32-digit MD5 is held as its 16 raw bytes, in place. Any other text (a package's
// concatenated digests, anything not lower-case hex) is kept as given on the heap, so every
// value round-trips exactly. 17 bytes, byte-aligned, so it packs beside small fields.
class HexDigest
{
public:
    HexDigest() = default;
    HexDigest(const QByteArray& text) { assign(text); } // NOLINT: reads as the text it holds
    HexDigest(const HexDigest& other);
    HexDigest(HexDigest&& other) noexcept;
    HexDigest& operator=(const HexDigest& other);
    HexDigest& operator=(HexDigest&& other) noexcept;
    HexDigest& operator=(const QByteArray& text);
    ~HexDigest() { clear(); }

    bool isEmpty() const { return m_kind == Empty; }
    void clear();
    // The hex text (a copy; empty when none).
    QByteArray toByteArray() const;
    operator QByteArray() const { return toByteArray(); } // NOLINT: the text the rest reads

    friend bool operator==(const HexDigest& a, const HexDigest& b);
    friend bool operator!=(const HexDigest& a, const HexDigest& b) { return !(a == b); }
    friend bool operator==(const HexDigest& a, const QByteArray& b) { return a == HexDigest(b); }
    friend bool operator==(const QByteArray& a, const HexDigest& b) { return HexDigest(a) == b; }
    friend bool operator!=(const HexDigest& a, const QByteArray& b) { return !(a == b); }
    friend bool operator!=(const QByteArray& a, const HexDigest& b) { return !(a == b); }
    size_t hash(size_t seed) const noexcept;

private:
    enum Kind : unsigned char { Empty, Raw, Text };
    void assign(const QByteArray& text);
    QByteArray* text() const
    {
        QByteArray* p;
        std::memcpy(&p, m_bytes, sizeof p);
        return p;
    }

    unsigned char m_bytes[16] = {}; // Raw: the digest; Text: a QByteArray* in the first bytes
    Kind m_kind = Empty;
};
inline size_t qHash(const HexDigest& digest, size_t seed = 0) noexcept
{
    return digest.hash(seed);
}
static_assert(sizeof(HexDigest) == 17 && alignof(HexDigest) == 1);
