// RefusedPackages: the packages that the trust policy refused while they were being
// unpacked (a file that differs from its signed digest, a package that changed while it
// was copied), by the state of their file and the policy. Kept in the platform folder, so
// that an unchanged refused package is not copied and extracted again at every rescan and
// every start, while a changed file or a changed policy is looked at afresh.
//
// Owned by the manager and used on the main thread only.
#pragma once

#include "OvxComponent/platform/cstring.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace OvxComponent {

class RefusedPackages {
public:
    explicit RefusedPackages(CString file) : m_file(std::move(file)) {}

    // Why the package file at path, as it is now, was refused under the policy whose
    // fingerprint is given; nothing when it was not.
    std::optional<CString> Find(const CString& path, const std::string& policy);
    // Notes the refusal of the package file at path, as it is now. The note is written at
    // once; a note that cannot be written is only kept for this session.
    void Remember(const CString& path, const std::string& policy, const CString& reason);

private:
    std::optional<std::string> KeyOf(const CString& path, const std::string& policy) const;
    void Load();

    CString m_file;
    bool m_loaded = false;
    std::vector<std::pair<std::string, std::string>> m_entries;  // key, reason; oldest first
};

}  // namespace OvxComponent
