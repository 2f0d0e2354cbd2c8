/// \file
/// OvxUtils::Any: a copyable value of any type that can also be compared for equality,
/// as typed metadata properties need it.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include <memory>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace OvxUtils {

/// A value of any copyable type, like std::any, with a type test.
class Any {
public:
    Any() = default;
    /// Holds value.
    template <class T, class = std::enable_if_t<!std::is_same_v<std::decay_t<T>, Any>>>
    /// \param value The value to hold.
    Any(T&& value)  // NOLINT: implicit, like std::any
        : m_holder(std::make_unique<Holder<std::decay_t<T>>>(std::forward<T>(value))) {}

    /// A copy of the other's value.
    /// \param other The value to copy.
    Any(const Any& other) : m_holder(other.m_holder ? other.m_holder->Clone() : nullptr) {}
    /// Takes over the other's value.
    Any(Any&&) noexcept = default;
    /// Replaces the value with a copy of the other's.
    /// \param other The value to copy.
    /// \return This value.
    Any& operator=(const Any& other) {
        if (this != &other) m_holder = other.m_holder ? other.m_holder->Clone() : nullptr;
        return *this;
    }
    /// Replaces the value with the other's.
    /// \return This value.
    Any& operator=(Any&&) noexcept = default;

    /// Whether a value is held.
    /// \return Whether a value is held.
    bool HasValue() const { return m_holder != nullptr; }
    /// Whether the value is of type T.
    template <class T>
    /// \tparam T The type asked about.
    /// \return Whether the value is a T.
    bool Is() const {
        return m_holder && m_holder->Type() == typeid(T);
    }
    /// The value when it is a T, otherwise null.
    template <class T>
    /// \tparam T The type asked for.
    /// \return The value, or null.
    const T* Get() const {
        return Is<T>() ? &static_cast<const Holder<T>*>(m_holder.get())->value : nullptr;
    }

    /// Equal when both are empty, or both hold values of one type that compare equal.
    friend bool operator==(const Any& a, const Any& b) {
        if (!a.m_holder || !b.m_holder) return !a.m_holder && !b.m_holder;
        return a.m_holder->Type() == b.m_holder->Type() && a.m_holder->Equals(*b.m_holder);
    }

private:
    struct HolderBase {
        virtual ~HolderBase() = default;
        virtual std::unique_ptr<HolderBase> Clone() const = 0;
        virtual bool Equals(const HolderBase& other) const = 0;  ///< other has the same type
        virtual const std::type_info& Type() const = 0;
    };
    template <class T>
    struct Holder final : HolderBase {
        template <class U>
        explicit Holder(U&& v) : value(std::forward<U>(v)) {}
        std::unique_ptr<HolderBase> Clone() const override { return std::make_unique<Holder>(value); }
        bool Equals(const HolderBase& other) const override {
            return value == static_cast<const Holder&>(other).value;
        }
        const std::type_info& Type() const override { return typeid(T); }
        T value;
    };

    std::unique_ptr<HolderBase> m_holder;
};

}  // namespace OvxUtils
