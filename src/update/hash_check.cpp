#include "update/hash_check.h"

#include "platform/system_io/file.h"
#include "update/update_error.h"

#include <sodium.h>

namespace OvxUpdate {

HashCheck::HashCheck(const std::map<std::string, std::string>& hashes) : m_hashes(hashes) {
    for (const auto& [algorithm, expected] : hashes) {
        if (auto digest = Digest::Make(algorithm)) m_digests.emplace(algorithm, std::move(digest));
    }
}

void HashCheck::Add(std::string_view part) {
    for (auto& [algorithm, digest] : m_digests) digest->Add(part);
    m_length += part.size();
}

OvxUtils::Result<void> HashCheck::Finish(const std::optional<std::uint64_t>& length, std::string_view what) {
    if (length && *length != m_length)
        return Refused("length mismatch: " + std::string(what) + " has " + std::to_string(m_length) +
                       " bytes, not the " + std::to_string(*length) + " its metadata lists");
    for (const auto& [algorithm, expected] : m_hashes) {
        auto digest = m_digests.find(algorithm);
        if (digest == m_digests.end())
            return Refused("hash mismatch: " + std::string(what) + " is listed with hash algorithm " +
                           Named(algorithm) + ", which this client cannot check");
        std::string actual = digest->second->FinishHex();
        if (actual.size() != expected.size() ||
            sodium_memcmp(actual.data(), expected.data(), actual.size()) != 0)
            return Refused("hash mismatch: the " + algorithm + " hash of " + std::string(what) +
                           " is not the one its metadata lists");
    }
    return {};
}

namespace {
constexpr std::size_t kBatchBytes = 1 << 20;
constexpr std::size_t kBatchesInFlight = 16;
}  // namespace

BackgroundHashCheck::BackgroundHashCheck(const std::map<std::string, std::string>& hashes)
    : m_check(hashes), m_thread([this] { Run(); }) {}

BackgroundHashCheck::~BackgroundHashCheck() { Stop(); }

void BackgroundHashCheck::Stop() {
    if (!m_thread.joinable()) return;
    {
        std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_changed.notify_all();
    m_thread.join();
}

void BackgroundHashCheck::Add(std::string_view part) {
    m_filling.append(part);
    if (m_filling.size() >= kBatchBytes) Hand();
}

void BackgroundHashCheck::Hand() {
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [&] { return m_queue.size() < kBatchesInFlight; });
    m_queue.push_back(std::move(m_filling));
    m_filling.clear();
    m_changed.notify_all();
}

void BackgroundHashCheck::Run() {
    std::unique_lock lock(m_mutex);
    while (true) {
        m_changed.wait(lock, [&] { return m_stopping || !m_queue.empty(); });
        if (m_queue.empty()) return;
        std::string batch = std::move(m_queue.front());
        m_queue.pop_front();
        m_changed.notify_all();
        lock.unlock();
        m_check.Add(batch);
        lock.lock();
    }
}

OvxUtils::Result<void> BackgroundHashCheck::Finish(const std::optional<std::uint64_t>& length,
                                                   std::string_view what) {
    if (!m_filling.empty()) Hand();
    Stop();  // the worker hashes what is queued before it ends
    return m_check.Finish(length, what);
}

bool FileMatches(const ::CString& path, std::uint64_t length,
                 const std::map<std::string, std::string>& hashes) {
    namespace File = OvxUtils::SystemIO::File;
    auto size = File::GetSize(path);
    if (!size || *size != length) return false;
    HashCheck check(hashes);
    auto read = File::ReadChunks(path, [&](std::string_view part) {
        check.Add(part);
        return true;
    });
    return read && check.Finish(length, "the file").HasValue();
}

OvxUtils::Result<void> CheckLengthAndHashes(std::string_view bytes,
                                            const std::optional<std::uint64_t>& length,
                                            const std::map<std::string, std::string>& hashes,
                                            std::string_view what) {
    HashCheck check(hashes);
    check.Add(bytes);
    return check.Finish(length, what);
}

}  // namespace OvxUpdate
