// BackgroundHasher: SHA-256 of a sequence of named byte streams, computed on a thread of its
// own while the caller goes on (extracting the next file), so that checking digests adds
// little to an unpack on a machine with a second core. Internal.
#pragma once

#include "extensions/trust/digest_list.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace OvxComponent::Trust {

class BackgroundHasher {
public:
    BackgroundHasher();
    ~BackgroundHasher();
    BackgroundHasher(const BackgroundHasher&) = delete;
    BackgroundHasher& operator=(const BackgroundHasher&) = delete;

    // One stream: Begin, its bytes through Add, End. A Begin without End drops the stream.
    void Begin(std::string_view name);
    void Add(std::string_view chunk);
    void End();
    // Waits for every stream ended so far and hands their digests over, in order.
    std::vector<std::pair<std::string, Sha256>> Finish();

private:
    // What the caller hands over at once, in order: a Begin with the name's bytes, an Add
    // with the chunk's, an End with none; the bytes follow each other in bytes.
    enum class Step : char { Begin, Add, End };
    struct Batch {
        std::vector<std::pair<Step, std::size_t>> steps;
        std::string bytes;
    };
    void Hand(bool force);
    void Run();

    Batch m_filling;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Batch> m_queue;
    bool m_busy = false;
    bool m_stopping = false;
    std::vector<std::pair<std::string, Sha256>> m_done;
    std::thread m_thread;
};

}  // namespace OvxComponent::Trust
