// HashCheck: the hashes a role lists for a file, checked as the file's bytes go by, so
// that a package is checked while it downloads, without a second read.
#pragma once

#include "OvxComponent/platform/cstring.h"
#include "OvxComponent/platform/result.h"
#include "update/digest.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

namespace OvxUpdate {

class HashCheck {
public:
    // hashes: algorithm name to hex digest, as metadata lists them.
    explicit HashCheck(const std::map<std::string, std::string>& hashes);

    void Add(std::string_view part);
    // Whether the bytes added have the length (when given) and every listed hash; an
    // algorithm other than sha256 and sha512 fails, since it could not be checked.
    OvxUtils::Result<void> Finish(const std::optional<std::uint64_t>& length, std::string_view what);

private:
    const std::map<std::string, std::string>& m_hashes;
    std::map<std::string, std::unique_ptr<Digest>> m_digests;
    std::uint64_t m_length = 0;
};

// The same check on a thread of its own, so that hashing a package overlaps its download
// on a machine with a second core: Add copies the bytes into batches of a megabyte, at most
// sixteen in flight.
class BackgroundHashCheck {
public:
    explicit BackgroundHashCheck(const std::map<std::string, std::string>& hashes);
    ~BackgroundHashCheck();
    BackgroundHashCheck(const BackgroundHashCheck&) = delete;
    BackgroundHashCheck& operator=(const BackgroundHashCheck&) = delete;

    void Add(std::string_view part);
    // Waits for the bytes added so far, then checks them.
    OvxUtils::Result<void> Finish(const std::optional<std::uint64_t>& length, std::string_view what);

private:
    void Hand();
    void Run();
    void Stop();

    HashCheck m_check;
    std::string m_filling;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<std::string> m_queue;
    bool m_stopping = false;
    std::thread m_thread;
};

// Whether the file at path has the length and every listed hash; false also when it
// cannot be read.
bool FileMatches(const ::CString& path, std::uint64_t length,
                 const std::map<std::string, std::string>& hashes);

// The same check for bytes held whole.
OvxUtils::Result<void> CheckLengthAndHashes(std::string_view bytes,
                                            const std::optional<std::uint64_t>& length,
                                            const std::map<std::string, std::string>& hashes,
                                            std::string_view what);

}  // namespace OvxUpdate
