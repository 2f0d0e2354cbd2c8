// FileStream: a Stream into a file, as used for log files.
//
// Every Write goes to the system at once as one write call, so a line written in one call
// lands whole and other processes can read the file while it is open (on Windows it is
// shared for reading, writing and deletion; on POSIX systems the descriptor is not
// inherited by child processes). Nothing is buffered, so Flush has nothing to do. A Write
// that fails part-way (a full disk) is cut off again: the file never ends in half a line,
// and the next Write that succeeds starts where that one began.
#pragma once

#include "OvxComponent/platform/cstring.h"
#include "OvxComponent/platform/stream/stream.h"

#include <cstdint>
#include <memory>

namespace OvxUtils {

class FileStream final : public Stream {
public:
    // Creates the file or empties it; null when it cannot be opened (for example when
    // its folder does not exist).
    static std::shared_ptr<Stream> Create(const CString& path) { return Make(path); }
    // The same, for a caller that needs more than the Stream interface.
    static std::unique_ptr<FileStream> Make(const CString& path);

    ~FileStream() override;
    FileStream(const FileStream&) = delete;
    FileStream& operator=(const FileStream&) = delete;

    bool Write(const void* data, std::size_t size) override;

    // Sets the file's last write time (100 ns ticks since 1601, as File::SetLastWriteTime)
    // through the open handle, without looking the path up again. Writes that follow may
    // change it again.
    bool SetLastWriteTime(std::uint64_t ticks);

private:
    class Handle;  // the open file, defined per platform
    explicit FileStream(std::unique_ptr<Handle> handle);

    std::unique_ptr<Handle> m_handle;
};

}  // namespace OvxUtils
