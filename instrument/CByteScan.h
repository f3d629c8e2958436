#pragma once

#include <QtGlobal>

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

// Finds the first byte of a small set (up to four values) in a byte range,
// eight bytes at a time: the received-data pipeline looks for the few bytes
// that change its state and passes everything between them in one go.
class CByteScan
{
    static_assert(std::endian::native == std::endian::little, "the first byte is the lowest");

public:
    static constexpr int MaxBytes = 4;

    void Add(unsigned char byte)
    {
        if (m_nCount == MaxBytes)
            return;
        // Unused patterns repeat the last byte added, so every word is
        // tested against all four.
        for (int i = m_nCount; i < MaxBytes; ++i)
            m_patterns[std::size_t(i)] = Broadcast(byte);
        ++m_nCount;
        m_table[byte] = true;
    }

    // The first byte of the set in [p, end), or end.
    const char* Find(const char* p, const char* end) const
    {
        if (m_nCount == 0)
            return end;
        for (; end - p >= 8; p += 8) {
            std::uint64_t word;
            std::memcpy(&word, p, 8);
            // The lowest flag of each pattern is exact (false flags appear
            // only above a true one), so the lowest of all is a true hit.
            const std::uint64_t hits = ZeroBytes(word ^ m_patterns[0]) | ZeroBytes(word ^ m_patterns[1])
                | ZeroBytes(word ^ m_patterns[2]) | ZeroBytes(word ^ m_patterns[3]);
            if (hits)
                return p + (std::countr_zero(hits) >> 3);
        }
        while (p < end && !m_table[static_cast<unsigned char>(*p)])
            ++p;
        return p;
    }

    // A byte equal to a or b in [p, end)?
    static bool HasEither(const char* p, const char* end, unsigned char a, unsigned char b)
    {
        for (; end - p >= 8; p += 8) {
            std::uint64_t word;
            std::memcpy(&word, p, 8);
            if (ZeroBytes(word ^ Broadcast(a)) | ZeroBytes(word ^ Broadcast(b)))
                return true;
        }
        for (; p < end; ++p) {
            const auto byte = static_cast<unsigned char>(*p);
            if (byte == a || byte == b)
                return true;
        }
        return false;
    }

    // A byte below 32 in [p, end)?
    static bool HasControlByte(const char* p, const char* end)
    {
        for (; end - p >= 8; p += 8) {
            std::uint64_t word;
            std::memcpy(&word, p, 8);
            if ((word - Broadcast(32)) & ~word & Broadcast(0x80))
                return true;
        }
        for (; p < end; ++p) {
            if (static_cast<unsigned char>(*p) < 32)
                return true;
        }
        return false;
    }

private:
    static constexpr std::uint64_t Broadcast(unsigned char byte) { return 0x0101010101010101ULL * byte; }
    static constexpr std::uint64_t ZeroBytes(std::uint64_t word)
    {
        return (word - Broadcast(1)) & ~word & Broadcast(0x80);
    }

    std::array<std::uint64_t, MaxBytes> m_patterns{};
    std::array<bool, 256> m_table{};
    int m_nCount = 0;
};
