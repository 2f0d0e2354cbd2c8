/// \file
/// Result<T>: a value, or the failure that kept it from being made.
///
/// The one way every layer reports an expected failure (a damaged archive, a refused entry
/// name, a full disk): it is returned, never thrown. The error's text is meant for a log
/// line or a user: it names what failed and why, in one sentence without a final period.
/// Where the cause is the operating system's, the error also carries the system's own
/// code and its words for it, so that a caller can act on the code and a person can read
/// the words.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/platform/cstring.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>

namespace OvxUtils {

/// The failure side of a Result: `return Error{u"cannot read " + name};`
struct Error {
    /// What failed and why, as the log and the caller show it.
    CString text;
    /// The system's error code (errno, or GetLastError on Windows); 0 when the failure is
    /// not the system's.
    std::uint32_t systemCode = 0;
};

/// The outcome of an operation that can fail: a value of type T, or an Error.
template <class T>
class [[nodiscard]] Result {
public:
    /// A result that holds the value.
    /// \param value The value.
    Result(T value) : m_state(std::in_place_index<0>, std::move(value)) {}  // NOLINT: implicit
    /// A failed result.
    /// \param error What failed and why.
    Result(Error error) : m_state(std::in_place_index<1>, std::move(error)) {}  // NOLINT

    /// \return Whether the operation succeeded.
    bool HasValue() const { return m_state.index() == 0; }
    /// \return Whether the operation succeeded.
    explicit operator bool() const { return HasValue(); }

    ///@{
    /// The value; only when HasValue().
    /// \return The value.
    T& Value() & { return std::get<0>(m_state); }
    const T& Value() const& { return std::get<0>(m_state); }
    T&& Value() && { return std::get<0>(std::move(m_state)); }
    ///@}
    ///@{
    /// The value's members; only when HasValue().
    /// \return The value's address.
    T* operator->() { return &Value(); }
    const T* operator->() const { return &Value(); }
    ///@}
    ///@{
    /// The value; only when HasValue().
    /// \return The value.
    T& operator*() & { return Value(); }
    const T& operator*() const& { return Value(); }
    ///@}

    /// \return The error text; empty when there is a value.
    CString ErrorText() const { return HasValue() ? CString() : std::get<1>(m_state).text; }
    /// \return The system's error code; 0 when there is a value or the failure is not the
    /// system's.
    std::uint32_t SystemCode() const { return HasValue() ? 0 : std::get<1>(m_state).systemCode; }
    /// The failure, to hand on to the caller's own result; only when !HasValue().
    /// \return The error.
    Error TakeError() { return std::get<1>(std::move(m_state)); }

    /// Equal to a value when it holds one equal to it; two results are equal when both hold
    /// equal values or both failed alike.
    template <class U>
        requires(!std::is_same_v<U, Result>)
    /// \param result The result.
    /// \param value The value to compare with.
    /// \return Whether result holds a value equal to value.
    friend bool operator==(const Result& result, const U& value) {
        return result.HasValue() && result.Value() == value;
    }
    /// Equal when both hold equal values, or errors with the same text and code.
    /// \param a The first result.
    /// \param b The second result.
    /// \return Whether they are equal.
    friend bool operator==(const Result& a, const Result& b) {
        if (a.HasValue() != b.HasValue()) return false;
        if (a.HasValue()) return a.Value() == b.Value();
        return a.ErrorText() == b.ErrorText() && a.SystemCode() == b.SystemCode();
    }

private:
    std::variant<T, Error> m_state;
};

/// The outcome of an operation that gives no value: success, or an Error.
template <>
class [[nodiscard]] Result<void> {
public:
    Result() = default;
    /// A failed result.
    /// \param error What failed and why.
    Result(Error error) : m_error(std::move(error)), m_failed(true) {}  // NOLINT: implicit

    /// \return Whether the operation succeeded.
    bool HasValue() const { return !m_failed; }
    /// \return Whether the operation succeeded.
    explicit operator bool() const { return HasValue(); }
    /// \return The error's text; empty on success.
    CString ErrorText() const { return m_error.text; }
    /// \return The system's error code; 0 on success or when the system gave none.
    std::uint32_t SystemCode() const { return m_error.systemCode; }
    /// Moves the error out; only on failure.
    /// \return The error.
    Error TakeError() { return std::move(m_error); }

private:
    Error m_error;
    bool m_failed = false;
};

/// The calling thread's last system error (errno, or GetLastError on Windows), read at once
/// after the call that failed and before anything else can change it.
/// \return The error code.
OVX_API std::uint32_t LastSystemError();
/// The system's words for an error code, for example "No space left on device".
/// \param code The system's error code.
/// \return The system's words for it.
OVX_API CString SystemErrorText(std::uint32_t code);
/// An Error for a system call that just failed: what + ": " + the system's words.
/// \param what What failed, in words.
/// \param code The system's error code.
/// \return The error.
inline Error SystemError(const CString& what, std::uint32_t code) {
    return Error{what + u": " + SystemErrorText(code), code};
}
/// The error of the last system call on this thread, for what.
/// \param what What failed, in words.
/// \return The error.
inline Error SystemError(const CString& what) { return SystemError(what, LastSystemError()); }

/// A name in double quotes, as error messages and log lines show names.
/// \param utf8 The name, in UTF-8.
/// \return The quoted name.
inline CString Quoted(std::string_view utf8) { return u"\"" + CString::FromUtf8(utf8) + u"\""; }
/// A name in double quotes, as error messages and log lines show names.
/// \param text The name.
/// \return The quoted name.
inline CString Quoted(const CString& text) { return u"\"" + text + u"\""; }
/// A number for error messages.
/// \param value The number.
/// \return The number in decimal digits.
inline CString DecimalText(unsigned long long value) { return CString::FromUtf8(std::to_string(value)); }

}  // namespace OvxUtils
