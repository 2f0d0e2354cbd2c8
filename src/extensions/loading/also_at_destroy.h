// also_at_destroy_t: keeps an object alive together with a function that runs when the
// last reference to the pair goes, before the object itself is released.
//
// Registration hands hosts an aliasing pointer into such a holder: it points at the inner
// object, so hosts use it like the object they registered, and shares the holder's count,
// so that releasing its last copy runs the function (which unregisters the object) while
// the object is still alive.
#pragma once

#include <memory>
#include <utility>

namespace OvxComponent {

template <class T, class F>
class also_at_destroy_t {
public:
    also_at_destroy_t(std::shared_ptr<T> object, F atDestroy)
        : m_object(std::move(object)), m_atDestroy(std::move(atDestroy)) {}
    also_at_destroy_t(const also_at_destroy_t&) = delete;
    also_at_destroy_t& operator=(const also_at_destroy_t&) = delete;
    // Runs the function, with the object, first; its captures and then the object go
    // afterwards.
    ~also_at_destroy_t() { m_atDestroy(m_object); }

    const std::shared_ptr<T>& Object() const { return m_object; }

private:
    std::shared_ptr<T> m_object;
    F m_atDestroy;
};

// A pointer to object that runs atDestroy(object) when its last copy is released.
template <class T, class F>
std::shared_ptr<T> MakeAlsoAtDestroy(std::shared_ptr<T> object, F atDestroy) {
    auto holder = std::make_shared<also_at_destroy_t<T, F>>(std::move(object), std::move(atDestroy));
    T* inner = holder->Object().get();
    return std::shared_ptr<T>(std::move(holder), inner);
}

}  // namespace OvxComponent
