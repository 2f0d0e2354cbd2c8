// HeldFile: a file that its process holds for as long as it lives.
//
// Other processes, and other holders in the same process, can tell whether the holder of
// such a file is still at work, however it ended: the system lets go of the hold when the
// process ends, a crash or a kill included, while the file itself stays. A file left
// without a holder is therefore the trace of a process that did not clean up after itself.
// POSIX: an exclusive flock() on the file; Windows: a handle that shares no reading.
#pragma once

#include "OvxComponent/platform/cstring.h"
#include "OvxComponent/platform/result.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>

namespace OvxUtils::SystemIO {

class HeldFile {
public:
    // Creates a new file at path and holds it. Fails when something is at path already.
    static Result<HeldFile> Create(const CString& path);
    // Opens the file at path, or creates it, and holds it, waiting for at most patience
    // while another holder is at work on it. Let go, the file stays for the next holder:
    // a lock that processes take in turns.
    static Result<HeldFile> Hold(const CString& path, std::chrono::milliseconds patience);
    // Whether a holder is at work on the file at path: false when there is none, or nothing
    // is at path.
    static bool IsHeld(const CString& path);
    // Deletes the file at path unless a holder is at work on it; true when it was deleted.
    static bool DeleteUnlessHeld(const CString& path);

    HeldFile() = default;
    HeldFile(HeldFile&& other) noexcept;
    HeldFile& operator=(HeldFile&& other) noexcept;
    HeldFile(const HeldFile&) = delete;
    HeldFile& operator=(const HeldFile&) = delete;
    // Lets go of the file and leaves it where it is.
    ~HeldFile();

    bool IsValid() const;
    const CString& Path() const { return m_path; }
    // The file's first size bytes as memory that the holder writes and the file keeps, also
    // when the process ends however it ends (the system writes them out; nothing is flushed
    // to the disk): a note that the next process reads from a trace. The file grows to size
    // when it is shorter. Empty when the file cannot be mapped; valid until the hold ends.
    std::span<unsigned char> Map(std::size_t size);
    // Deletes the file and lets go of it.
    void Delete();

private:
    HeldFile(CString path, std::intptr_t handle) : m_path(std::move(path)), m_handle(handle) {}
    // One attempt of Hold: nullopt while another holder is at work.
    static std::optional<Result<HeldFile>> TryHold(const CString& path);
    void Unmap();
    void Close();

    CString m_path;
    std::intptr_t m_handle = -1;  // a file descriptor, or a HANDLE on Windows
    void* m_view = nullptr;       // what Map made
    std::size_t m_viewSize = 0;
    std::intptr_t m_mapping = 0;  // Windows: the file mapping behind the view
};

}  // namespace OvxUtils::SystemIO
