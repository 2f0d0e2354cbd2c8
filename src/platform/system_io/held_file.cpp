// HeldFile: what both platforms share; held_file_posix.cpp and held_file_win.cpp hold and
// let go.
#include "platform/system_io/held_file.h"

#include <utility>

namespace OvxUtils::SystemIO {

HeldFile::HeldFile(HeldFile&& other) noexcept
    : m_path(std::move(other.m_path)), m_handle(std::exchange(other.m_handle, -1)) {}

HeldFile& HeldFile::operator=(HeldFile&& other) noexcept {
    if (this != &other) {
        Close();
        m_path = std::move(other.m_path);
        m_handle = std::exchange(other.m_handle, -1);
    }
    return *this;
}

HeldFile::~HeldFile() { Close(); }

bool HeldFile::IsValid() const { return m_handle != -1; }

}  // namespace OvxUtils::SystemIO
