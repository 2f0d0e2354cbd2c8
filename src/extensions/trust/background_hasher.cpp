// BackgroundHasher: batches of streams handed to a hashing thread.
#include "extensions/trust/background_hasher.h"

namespace OvxComponent::Trust {

namespace {

// A batch is handed over once it holds this many bytes; at most this many batches wait,
// which bounds the memory in flight.
constexpr std::size_t kBatchBytes = 256 * 1024;
constexpr std::size_t kMaxWaiting = 4;

}  // namespace

BackgroundHasher::BackgroundHasher() : m_thread([this] { Run(); }) {}

BackgroundHasher::~BackgroundHasher() {
    {
        std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_changed.notify_all();
    m_thread.join();
}

void BackgroundHasher::Begin(std::string_view name) {
    m_filling.steps.emplace_back(Step::Begin, name.size());
    m_filling.bytes += name;
}

void BackgroundHasher::Add(std::string_view chunk) {
    m_filling.steps.emplace_back(Step::Add, chunk.size());
    m_filling.bytes += chunk;
    if (m_filling.bytes.size() >= kBatchBytes) Hand(false);
}

void BackgroundHasher::End() { m_filling.steps.emplace_back(Step::End, 0); }

void BackgroundHasher::Hand(bool force) {
    if (m_filling.steps.empty() && !force) return;
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_queue.size() < kMaxWaiting; });
    if (!m_filling.steps.empty()) m_queue.push_back(std::exchange(m_filling, {}));
    lock.unlock();
    m_changed.notify_all();
}

std::vector<std::pair<std::string, Sha256>> BackgroundHasher::Finish() {
    Hand(true);
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_queue.empty() && !m_busy; });
    return std::exchange(m_done, {});
}

void BackgroundHasher::Run() {
    Sha256Hasher hasher;
    std::string name;
    bool inStream = false;
    std::unique_lock lock(m_mutex);
    while (true) {
        m_changed.wait(lock, [this] { return !m_queue.empty() || m_stopping; });
        if (m_queue.empty()) return;
        Batch batch = std::move(m_queue.front());
        m_queue.pop_front();
        m_busy = true;
        lock.unlock();
        m_changed.notify_all();  // room for the next batch
        std::vector<std::pair<std::string, Sha256>> done;
        std::size_t offset = 0;
        for (const auto& [step, length] : batch.steps) {
            const std::string_view bytes(batch.bytes.data() + offset, length);
            offset += length;
            if (step == Step::Begin) {
                name.assign(bytes);
                hasher.Restart();
                inStream = true;
            } else if (step == Step::Add) {
                if (inStream) hasher.Add(bytes);
            } else if (inStream) {
                done.emplace_back(name, hasher.Finish());
                inStream = false;
            }
        }
        lock.lock();
        for (auto& entry : done) m_done.push_back(std::move(entry));
        m_busy = false;
        m_changed.notify_all();
    }
}

}  // namespace OvxComponent::Trust
