// ByteWriter and ByteReader: a compact encoding of numbers and texts for the files the
// library keeps for itself (little-endian fixed-width numbers, texts as their 16-bit units
// with a count in front), and its reading back with every length checked against what is
// left. A reader that meets a truncated or foreign file fails once and for all and from
// then on reads zeros and empty texts: the caller checks Ok() at the end instead of after
// every field, and nothing is ever read past the end or reserved beyond what the bytes can
// hold.
#pragma once

#include "OvxComponent/platform/cstring.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace OvxUtils {

class ByteWriter {
public:
    void U8(std::uint8_t value) { m_bytes.push_back(static_cast<char>(value)); }
    void U32(std::uint32_t value) { Fixed(value, 4); }
    void U64(std::uint64_t value) { Fixed(value, 8); }
    void I32(std::int32_t value) { U32(static_cast<std::uint32_t>(value)); }
    void Bytes(std::string_view bytes) {
        U32(static_cast<std::uint32_t>(bytes.size()));
        m_bytes.append(bytes);
    }
    void Text(const CString& text) {
        U32(static_cast<std::uint32_t>(text.GetLength()));
        for (const CString::XCHAR unit : text.View()) Fixed(static_cast<std::uint16_t>(unit), 2);
    }

    const std::string& Written() const { return m_bytes; }
    std::string Take() { return std::move(m_bytes); }

private:
    void Fixed(std::uint64_t value, int width) {
        for (int i = 0; i < width; ++i) m_bytes.push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
    }
    std::string m_bytes;
};

class ByteReader {
public:
    explicit ByteReader(std::string_view bytes) : m_bytes(bytes) {}

    std::uint8_t U8() { return static_cast<std::uint8_t>(Fixed(1)); }
    std::uint32_t U32() { return static_cast<std::uint32_t>(Fixed(4)); }
    std::uint64_t U64() { return Fixed(8); }
    std::int32_t I32() { return static_cast<std::int32_t>(U32()); }
    bool Bool() {
        const std::uint8_t value = U8();
        if (value > 1) m_ok = false;
        return value == 1;
    }
    std::string_view Bytes() {
        const std::uint32_t size = U32();
        if (!Take(size)) return {};
        const std::string_view bytes = m_bytes.substr(m_position - size, size);
        return bytes;
    }
    CString Text() {
        const std::uint32_t length = U32();
        if (length > Left() / 2 || !m_ok) {
            m_ok = false;
            return {};
        }
        CString::StringType units(length, 0);
        for (CString::XCHAR& unit : units) unit = static_cast<CString::XCHAR>(Fixed(2));
        return CString(std::move(units));
    }
    // A count of items that take at least minBytesEach bytes each: a count that the bytes
    // left cannot hold fails the reader and reads as 0, so that it can be reserved safely.
    std::size_t Count(std::size_t minBytesEach) {
        const std::uint32_t count = U32();
        if (!m_ok || (minBytesEach != 0 && count > Left() / minBytesEach)) {
            m_ok = false;
            return 0;
        }
        return count;
    }

    bool Ok() const { return m_ok; }
    bool AtEnd() const { return m_ok && m_position == m_bytes.size(); }
    std::size_t Left() const { return m_bytes.size() - m_position; }
    void Fail() { m_ok = false; }

private:
    bool Take(std::size_t size) {
        if (!m_ok || size > Left()) {
            m_ok = false;
            return false;
        }
        m_position += size;
        return true;
    }
    std::uint64_t Fixed(int width) {
        if (!Take(static_cast<std::size_t>(width))) return 0;
        std::uint64_t value = 0;
        for (int i = 0; i < width; ++i) {
            value |= static_cast<std::uint64_t>(static_cast<unsigned char>(m_bytes[m_position - width + i])) << (8 * i);
        }
        return value;
    }

    std::string_view m_bytes;
    std::size_t m_position = 0;
    bool m_ok = true;
};

}  // namespace OvxUtils
