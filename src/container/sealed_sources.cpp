// The watched and the late libzip sources.
#include "container/sealed_sources.h"

#include <algorithm>
#include <cstring>

namespace VdcContainer {

namespace {

zip_int64_t Supported() {
    return zip_source_make_command_bitmap(ZIP_SOURCE_OPEN, ZIP_SOURCE_READ, ZIP_SOURCE_CLOSE, ZIP_SOURCE_STAT,
                                          ZIP_SOURCE_ERROR, ZIP_SOURCE_FREE, -1);
}

struct Watched {
    zip_source_t* inner;
    EntryWatcher& watcher;
    std::string name;
    std::size_t& closed;
};

zip_int64_t WatchedCallback(void* state, void* data, zip_uint64_t length, zip_source_cmd_t command) {
    Watched& watched = *static_cast<Watched*>(state);
    switch (command) {
    case ZIP_SOURCE_OPEN:
        if (zip_source_open(watched.inner) < 0) return -1;
        watched.watcher.Begin(watched.name);
        return 0;
    case ZIP_SOURCE_READ: {
        const zip_int64_t read = zip_source_read(watched.inner, data, length);
        if (read > 0) watched.watcher.Add({static_cast<const char*>(data), static_cast<std::size_t>(read)});
        return read;
    }
    case ZIP_SOURCE_CLOSE:
        zip_source_close(watched.inner);
        static_cast<void>(watched.watcher.End(watched.name));
        ++watched.closed;
        return 0;
    case ZIP_SOURCE_STAT: {
        auto* stat = static_cast<zip_stat_t*>(data);
        return length < sizeof(zip_stat_t) || zip_source_stat(watched.inner, stat) < 0 ? -1 : 0;
    }
    case ZIP_SOURCE_ERROR:
        return zip_error_to_data(zip_source_error(watched.inner), data, length);
    case ZIP_SOURCE_FREE:
        zip_source_free(watched.inner);
        delete &watched;
        return 0;
    case ZIP_SOURCE_SUPPORTS:
        return Supported();
    default:
        return -1;
    }
}

struct Late {
    std::function<Result<std::string>()> make;
    const std::size_t& closed;
    std::size_t expected;
    std::string bytes;
    bool made = false;
    std::size_t offset = 0;
    zip_error_t error;
};

bool Make(Late& late) {
    if (late.made) return true;
    if (late.closed < late.expected) {
        zip_error_set(&late.error, ZIP_ER_INTERNAL, 0);  // asked for before the entries it sums up
        return false;
    }
    auto made = late.make();
    if (!made) {
        zip_error_set(&late.error, ZIP_ER_INTERNAL, 0);
        return false;
    }
    late.bytes = std::move(*made);
    late.made = true;
    return true;
}

zip_int64_t LateCallback(void* state, void* data, zip_uint64_t length, zip_source_cmd_t command) {
    Late& late = *static_cast<Late*>(state);
    switch (command) {
    case ZIP_SOURCE_OPEN:
        late.offset = 0;
        return Make(late) ? 0 : -1;
    case ZIP_SOURCE_READ: {
        const std::size_t count = std::min<std::size_t>(length, late.bytes.size() - late.offset);
        std::memcpy(data, late.bytes.data() + late.offset, count);
        late.offset += count;
        return static_cast<zip_int64_t>(count);
    }
    case ZIP_SOURCE_CLOSE:
        return 0;
    case ZIP_SOURCE_STAT: {
        if (length < sizeof(zip_stat_t) || !Make(late)) return -1;
        auto* stat = static_cast<zip_stat_t*>(data);
        zip_stat_init(stat);
        stat->size = late.bytes.size();
        stat->valid |= ZIP_STAT_SIZE;
        return 0;
    }
    case ZIP_SOURCE_ERROR:
        return zip_error_to_data(&late.error, data, length);
    case ZIP_SOURCE_FREE:
        zip_error_fini(&late.error);
        delete &late;
        return 0;
    case ZIP_SOURCE_SUPPORTS:
        return Supported();
    default:
        return -1;
    }
}

}  // namespace

zip_source_t* MakeWatchedSource(zip_t* archive, zip_source_t* inner, EntryWatcher& watcher, std::string name,
                                std::size_t& closed) {
    auto* state = new Watched{inner, watcher, std::move(name), closed};
    zip_source_t* source = zip_source_function(archive, &WatchedCallback, state);
    if (!source) delete state;
    return source;
}

zip_source_t* MakeLateSource(zip_t* archive, std::function<Result<std::string>()> make, const std::size_t& closed,
                             std::size_t expected) {
    auto* state = new Late{std::move(make), closed, expected, {}, false, 0, {}};
    zip_error_init(&state->error);
    zip_source_t* source = zip_source_function(archive, &LateCallback, state);
    if (!source) {
        zip_error_fini(&state->error);
        delete state;
    }
    return source;
}

}  // namespace VdcContainer
