// The failure text of the C interface, one per thread, and the guard that turns a C++
// exception into a status at the boundary.
#pragma once

#include "OvxComponent/ovx_component.h"

#include <string>

namespace OvxComponent::CInterface {

// Stores text as the calling thread's last error and returns status.
ovx_status Fail(ovx_status status, std::string text);
// OVX_E_INVALID_ARGUMENT, with "<what> is null" as the last error.
inline ovx_status InvalidArgument(const char* what) {
    return Fail(OVX_E_INVALID_ARGUMENT, std::string(what) + " is null");
}
void ClearLastError();

// Runs body, which returns a status; an exception escaping it becomes a failure.
template <class Body>
ovx_status Guarded(Body&& body) noexcept {
    try {
        ClearLastError();
        return body();
    } catch (const std::bad_alloc&) {
        return Fail(OVX_E_OUT_OF_MEMORY, "out of memory");
    } catch (const std::exception& error) {
        return Fail(OVX_E_FAILED, error.what());
    } catch (...) {
        return Fail(OVX_E_FAILED, "unknown exception");
    }
}

}  // namespace OvxComponent::CInterface
