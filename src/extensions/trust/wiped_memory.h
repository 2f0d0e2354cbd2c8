// Memory for secrets (passwords, secret keys, their file text, scrypt streams) that is
// wiped with sodium_memzero when it goes, so that no copy stays behind in freed memory.
// Internal.
#pragma once

#include <sodium.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace OvxComponent::Minisign {

// An allocator that wipes every block it gives back, so that a string growing past its
// room leaves no copy of its old content in the heap.
template <class T>
struct WipingAllocator {
    using value_type = T;
    WipingAllocator() = default;
    template <class U>
    WipingAllocator(const WipingAllocator<U>&) noexcept {}  // NOLINT: rebinding is implicit
    T* allocate(std::size_t count) { return std::allocator<T>().allocate(count); }
    void deallocate(T* block, std::size_t count) noexcept {
        sodium_memzero(block, count * sizeof(T));
        std::allocator<T>().deallocate(block, count);
    }
    friend bool operator==(const WipingAllocator&, const WipingAllocator&) { return true; }
};

template <class Char>
using WipedString = std::basic_string<Char, std::char_traits<Char>, WipingAllocator<Char>>;

// Bytes of a secret of a fixed size, wiped when they go. Copies are wiped as well.
template <std::size_t Size>
struct SecretBytes : std::array<unsigned char, Size> {
    ~SecretBytes() { sodium_memzero(this->data(), Size); }
};

// Text of a secret: a password or a secret key file. Its characters live in the heap from
// the first one on, never inside the string object (where a short string keeps them and
// where no allocator would wipe them), so moving it leaves nothing behind. It cannot be
// copied by accident.
class SecretString {
public:
    SecretString() = default;
    explicit SecretString(std::string_view text) { Append(text); }
    SecretString(SecretString&& other) noexcept : m_text(std::move(other.m_text)) { other.Wipe(); }
    SecretString& operator=(SecretString&& other) noexcept {
        if (this != &other) {
            Wipe();
            m_text = std::move(other.m_text);
            other.Wipe();
        }
        return *this;
    }
    SecretString(const SecretString&) = delete;
    SecretString& operator=(const SecretString&) = delete;
    ~SecretString() { Wipe(); }

    // Takes text's content and wipes text.
    static SecretString TakeFrom(std::string& text) {
        SecretString secret(text);
        WipeWhole(text);
        return secret;
    }

    std::string_view View() const { return m_text; }
    const char* Data() const { return m_text.data(); }
    char* Data() { return m_text.data(); }
    std::size_t Size() const { return m_text.size(); }
    bool IsEmpty() const { return m_text.empty(); }
    void Append(std::string_view text) {
        MakeRoom(Size() + text.size());
        m_text.append(text);
    }
    void Append(char c) { Append(std::string_view(&c, 1)); }
    void Resize(std::size_t size) {
        MakeRoom(size);
        m_text.resize(size);
    }

    // Whether both hold the same text, compared in constant time for texts of one length.
    bool SameAs(const SecretString& other) const {
        return Size() == other.Size() && sodium_memcmp(Data(), other.Data(), Size()) == 0;
    }

private:
    static constexpr std::size_t kLeastRoom = 64;  // beyond any string's room inside the object

    void MakeRoom(std::size_t size) {
        if (size <= m_text.capacity() && m_text.capacity() >= kLeastRoom) return;
        m_text.reserve(std::max({size, kLeastRoom, 2 * m_text.capacity()}));
    }
    // Its whole room, not only the characters in use: a string that shrank keeps the rest.
    template <class String>
    static void WipeWhole(String& text) noexcept {
        text.resize(text.capacity());  // within the room: nothing is allocated
        sodium_memzero(text.data(), text.size());
        text.clear();
    }
    void Wipe() noexcept { WipeWhole(m_text); }

    WipedString<char> m_text;
};

}  // namespace OvxComponent::Minisign
