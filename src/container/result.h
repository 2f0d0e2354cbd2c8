// Result<T>: a value, or the text of the expected failure that kept it from being made.
//
// Expected failures in the container library (a damaged archive, a refused entry name, a
// file that cannot be written) are returned, never thrown. The text is meant for a log line
// or a user: it names what failed and why, in one sentence without a final period.
#pragma once

#include "platform/cstring.h"

#include <string>
#include <string_view>
#include <utility>
#include <variant>

namespace VdcContainer {

// The failure side of a Result: `return Error{u"cannot read " + name};`
struct Error {
    CString text;
};

template <class T>
class [[nodiscard]] Result {
public:
    Result(T value) : m_state(std::in_place_index<0>, std::move(value)) {}  // NOLINT: implicit
    Result(Error error) : m_state(std::in_place_index<1>, std::move(error.text)) {}  // NOLINT

    bool HasValue() const { return m_state.index() == 0; }
    explicit operator bool() const { return HasValue(); }

    // The value; only when HasValue().
    T& Value() & { return std::get<0>(m_state); }
    const T& Value() const& { return std::get<0>(m_state); }
    T&& Value() && { return std::get<0>(std::move(m_state)); }
    T* operator->() { return &Value(); }
    const T* operator->() const { return &Value(); }
    T& operator*() & { return Value(); }
    const T& operator*() const& { return Value(); }

    // The error text; empty when there is a value.
    CString ErrorText() const { return HasValue() ? CString() : std::get<1>(m_state); }
    // The failure, to hand on to the caller's own result; only when !HasValue().
    Error TakeError() { return Error{std::get<1>(std::move(m_state))}; }

private:
    std::variant<T, CString> m_state;
};

template <>
class [[nodiscard]] Result<void> {
public:
    Result() = default;
    Result(Error error) : m_error(std::move(error.text)), m_failed(true) {}  // NOLINT: implicit

    bool HasValue() const { return !m_failed; }
    explicit operator bool() const { return HasValue(); }
    CString ErrorText() const { return m_error; }
    Error TakeError() { return Error{std::move(m_error)}; }

private:
    CString m_error;
    bool m_failed = false;
};

// Text pieces for error messages: a quoted UTF-8 name and a decimal number.
inline CString Quoted(std::string_view utf8) { return u"\"" + CString::FromUtf8(utf8) + u"\""; }
inline CString Quoted(const CString& text) { return u"\"" + text + u"\""; }
inline CString DecimalText(unsigned long long value) { return CString::FromUtf8(std::to_string(value)); }

}  // namespace VdcContainer
