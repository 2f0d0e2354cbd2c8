// HeldFile: what both platforms share; held_file_posix.cpp and held_file_win.cpp hold and
// let go.
#include "platform/system_io/held_file.h"

#include <thread>
#include <utility>

namespace OvxUtils::SystemIO {

Result<HeldFile> HeldFile::Hold(const CString& path, std::chrono::milliseconds patience) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    for (;;) {
        if (auto held = TryHold(path)) return std::move(*held);
        if (std::chrono::steady_clock::now() >= deadline) {
            return Error{u"cannot hold " + path + u": another process held it for longer than " +
                         DecimalText(static_cast<unsigned long long>(patience.count())) + u" ms"};
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

HeldFile::HeldFile(HeldFile&& other) noexcept
    : m_path(std::move(other.m_path)), m_handle(std::exchange(other.m_handle, -1)),
      m_view(std::exchange(other.m_view, nullptr)), m_viewSize(std::exchange(other.m_viewSize, 0)),
      m_mapping(std::exchange(other.m_mapping, 0)) {}

HeldFile& HeldFile::operator=(HeldFile&& other) noexcept {
    if (this != &other) {
        Close();
        m_path = std::move(other.m_path);
        m_handle = std::exchange(other.m_handle, -1);
        m_view = std::exchange(other.m_view, nullptr);
        m_viewSize = std::exchange(other.m_viewSize, 0);
        m_mapping = std::exchange(other.m_mapping, 0);
    }
    return *this;
}

HeldFile::~HeldFile() { Close(); }

bool HeldFile::IsValid() const { return m_handle != -1; }

}  // namespace OvxUtils::SystemIO
