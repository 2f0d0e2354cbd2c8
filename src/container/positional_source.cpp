// The positional package source: libzip's source callbacks over NativeIO::ReadAt.
#include "container/positional_source.h"

#include "container/native_io.h"

#include <algorithm>
#include <cerrno>
#include <memory>

namespace VdcContainer {

namespace {

// Reads of a package are mostly small (a local header, a name, a block of compressed data)
// and in the order of the file, so blocks of this size are read ahead and kept.
constexpr std::size_t kBlockSize = 64 * 1024;

struct PositionalFile {
    std::FILE* file;
    std::uint64_t size;
    std::uint64_t position = 0;
    std::unique_ptr<char[]> block = std::make_unique_for_overwrite<char[]>(kBlockSize);
    std::uint64_t blockStart = 0;
    std::size_t blockLength = 0;
    zip_error_t error;

    PositionalFile(std::FILE* f, std::uint64_t s) : file(f), size(s) { zip_error_init(&error); }
    ~PositionalFile() {
        zip_error_fini(&error);
        if (file) std::fclose(file);
    }

    // Copies count bytes at the position into out, from the block where it holds them.
    bool Read(char* out, std::size_t count) {
        while (count > 0) {
            if (position >= blockStart && position < blockStart + blockLength) {
                const auto offset = static_cast<std::size_t>(position - blockStart);
                const std::size_t copied = std::min(count, blockLength - offset);
                std::copy_n(block.get() + offset, copied, out);
                out += copied;
                count -= copied;
                position += copied;
            } else if (count >= kBlockSize) {
                if (!NativeIO::ReadAt(file, position, count, out)) return false;
                position += count;
                return true;
            } else {
                blockStart = position;
                blockLength = static_cast<std::size_t>(std::min<std::uint64_t>(kBlockSize, size - position));
                if (!NativeIO::ReadAt(file, blockStart, blockLength, block.get())) {
                    blockLength = 0;
                    return false;
                }
            }
        }
        return true;
    }
};

zip_int64_t Callback(void* state, void* data, zip_uint64_t length, zip_source_cmd_t command) {
    auto* source = static_cast<PositionalFile*>(state);
    switch (command) {
    case ZIP_SOURCE_OPEN:
        source->position = 0;
        return 0;
    case ZIP_SOURCE_READ: {
        const std::uint64_t left = source->size - std::min(source->position, source->size);
        const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(length, left));
        if (!source->Read(static_cast<char*>(data), count)) {
            zip_error_set(&source->error, ZIP_ER_READ, errno);
            return -1;
        }
        return static_cast<zip_int64_t>(count);
    }
    case ZIP_SOURCE_CLOSE: return 0;
    case ZIP_SOURCE_STAT: {
        auto* stat = static_cast<zip_stat_t*>(data);
        zip_stat_init(stat);
        stat->size = source->size;
        stat->comp_size = source->size;
        stat->comp_method = ZIP_CM_STORE;
        stat->encryption_method = ZIP_EM_NONE;
        stat->valid = ZIP_STAT_SIZE | ZIP_STAT_COMP_SIZE | ZIP_STAT_COMP_METHOD | ZIP_STAT_ENCRYPTION_METHOD;
        return sizeof(zip_stat_t);
    }
    case ZIP_SOURCE_SEEK: {
        const zip_int64_t position =
            zip_source_seek_compute_offset(source->position, source->size, data, length, &source->error);
        if (position < 0) return -1;
        source->position = static_cast<std::uint64_t>(position);
        return 0;
    }
    case ZIP_SOURCE_TELL: return static_cast<zip_int64_t>(source->position);
    case ZIP_SOURCE_ERROR: return zip_error_to_data(&source->error, data, length);
    case ZIP_SOURCE_FREE:
        delete source;
        return 0;
    case ZIP_SOURCE_SUPPORTS:
        return zip_source_make_command_bitmap(ZIP_SOURCE_OPEN, ZIP_SOURCE_READ, ZIP_SOURCE_CLOSE, ZIP_SOURCE_STAT,
                                              ZIP_SOURCE_SEEK, ZIP_SOURCE_TELL, ZIP_SOURCE_ERROR, ZIP_SOURCE_FREE,
                                              ZIP_SOURCE_SUPPORTS, -1);
    default:
        zip_error_set(&source->error, ZIP_ER_OPNOTSUPP, 0);
        return -1;
    }
}

}  // namespace

zip_source_t* CreatePositionalSource(std::FILE* file, std::uint64_t size, zip_error_t* error) {
    auto state = std::make_unique<PositionalFile>(file, size);
    zip_source_t* source = zip_source_function_create(Callback, state.get(), error);
    if (source) state.release();  // freed by ZIP_SOURCE_FREE
    else state->file = nullptr;   // the caller keeps the file
    return source;
}

}  // namespace VdcContainer
