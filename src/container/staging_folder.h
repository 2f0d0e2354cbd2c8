// StagingFolder: a fresh folder beside an extraction's target, so that a failed
// extraction leaves the target as it was. Internal to ExtractFolder.
//
// Create makes the missing parents of the target and the staging folder; CommitInto moves
// what was written there into the target; the destructor removes the staging folder and
// the parents it made unless the commit succeeded.
#pragma once

#include "OvxComponent/container/result.h"
#include "OvxComponent/platform/cstring.h"

#include <memory>
#include <vector>

namespace VdcContainer {

class StagingFolder {
public:
    static Result<std::unique_ptr<StagingFolder>> Create(const CString& target);
    ~StagingFolder();
    StagingFolder(const StagingFolder&) = delete;
    StagingFolder& operator=(const StagingFolder&) = delete;

    const CString& Path() const { return m_path; }

    // A target that does not exist, or is an empty folder, is replaced by the staging
    // folder in one move. Otherwise the staged entries are moved in one by one; an entry
    // that exists in the target fails the commit, and what was moved in is removed again.
    Result<void> CommitInto();

private:
    StagingFolder(CString target, CString path, std::vector<CString> createdParents);
    Result<void> Merge(const CString& from, const CString& to, std::vector<CString>& moved);

    CString m_target;
    CString m_path;
    std::vector<CString> m_createdParents;  // deepest first
    bool m_committed = false;
};

}  // namespace VdcContainer
