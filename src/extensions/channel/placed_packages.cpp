#include "extensions/channel/placed_packages.h"

#include "platform/system_io/file.h"

#include <nlohmann/json.hpp>

namespace OvxComponent {

namespace File = OvxUtils::SystemIO::File;
using nlohmann::json;

OvxUtils::Result<void> PlacedPackages::Load() {
    m_entries.clear();
    m_completeAt = 0;
    if (!File::Exists(m_file)) return {};
    auto bytes = File::ReadAllBytes(m_file);
    if (!bytes) return bytes.TakeError();
    json record = json::parse(*bytes, nullptr, false);
    auto damaged =
        OvxUtils::Error{u"the record of placed packages " + OvxUtils::Quoted(m_file) + u" is damaged"};
    if (!record.is_object() || !record.contains("placed") || !record["placed"].is_object()) return damaged;
    for (const auto& [path, entry] : record["placed"].items()) {
        if (!entry.is_object() || !entry.value("file", json()).is_string() ||
            !entry.value("length", json()).is_number_unsigned() || !entry.value("hashes", json()).is_object())
            return damaged;
        Entry read{CString::FromUtf8(entry["file"].get<std::string>()),
                   entry["length"].get<std::uint64_t>(),
                   {},
                   std::nullopt};
        for (const auto& [algorithm, digest] : entry["hashes"].items()) {
            if (!digest.is_string()) return damaged;
            read.hashes.emplace(algorithm, digest.get<std::string>());
        }
        if (auto identity = entry.find("identity"); identity != entry.end()) {
            if (!identity->is_array() || identity->size() != 5) return damaged;
            for (const auto& value : *identity)
                if (!value.is_number_unsigned()) return damaged;
            const auto& v = *identity;
            read.identity = File::FileIdentity{v[0].get<std::uint64_t>(), v[1].get<std::uint64_t>(),
                                               v[2].get<std::uint64_t>(), v[3].get<std::uint64_t>(),
                                               v[4].get<std::uint64_t>()};
        }
        m_entries.emplace(path, std::move(read));
    }
    if (auto complete = record.find("complete_at");
        complete != record.end() && complete->is_number_unsigned())
        m_completeAt = complete->get<std::uint64_t>();
    return {};
}

OvxUtils::Result<void> PlacedPackages::Save() const {
    json placed = json::object();
    for (const auto& [path, entry] : m_entries) {
        placed[path] = {
            {"file", entry.fileName.ToUtf8()}, {"length", entry.length}, {"hashes", entry.hashes}};
        if (const auto& id = entry.identity)
            placed[path]["identity"] = {id->size, id->lastWrite, id->device, id->index, id->changeTime};
    }
    return File::WriteAtomically(m_file,
                                 json{{"complete_at", m_completeAt}, {"placed", placed}}.dump(1) + "\n");
}

}  // namespace OvxComponent
