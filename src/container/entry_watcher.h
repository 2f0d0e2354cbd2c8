// EntryWatcher: sees the bytes of entries as they are extracted or written, and SaveSeal,
// which also ends a save with entries made from what it saw. Internal.
#pragma once

#include "OvxComponent/container/result.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace VdcContainer {

// Begin, the entry's bytes in order through Add, then End; an entry read twice starts
// again with Begin. A failed End, or a failed Finish once every entry is out, fails an
// extraction before anything reaches its target.
class EntryWatcher {
public:
    virtual ~EntryWatcher() = default;
    virtual void Begin(std::string_view entryName) = 0;
    virtual void Add(std::string_view chunk) = 0;
    virtual Result<void> End(std::string_view entryName) = 0;
    virtual Result<void> Finish() { return {}; }
};

// Watches every entry a save writes, and gives the entries that end the archive, whose
// bytes are made only once every other entry has been written.
class SaveSeal : public EntryWatcher {
public:
    struct TrailingEntry {
        std::string name;
        std::function<Result<std::string>()> make;
        bool store = false;  // written uncompressed
    };
    virtual std::vector<TrailingEntry> TrailingEntries() = 0;
};

}  // namespace VdcContainer
