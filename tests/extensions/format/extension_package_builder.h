// ExtensionPackageBuilder: packs a filled extension package into a temporary folder and
// edits its entries afterwards, so that tests can make the documents that no well-behaved
// writer would make.
#pragma once

#include "OvxComponent/container/metadata_container.h"
#include "OvxComponent/extensions/format/extension_container_info.h"
#include "OvxComponent/extensions/format/extension_data.h"
#include "support/temp_folder.h"

#include <functional>
#include <memory>
#include <string>

namespace OvxTest {

// Every field set: titles and keywords with variants, entry points with and without guid,
// each kind of requirement.
OvxComponent::ExtensionData SampleExtensionData();

class ExtensionPackageBuilder {
public:
    // Packs data with one content file; DerivedFrom is set on the record before it is saved.
    explicit ExtensionPackageBuilder(const OvxComponent::ExtensionData& data = SampleExtensionData());

    const CString& Path() const { return m_path; }
    // The InstanceID generated when the package was saved.
    const OvxUtils::Guid& InstanceID() const { return m_instanceId; }

    // Replaces the first match of an ECMAScript pattern (which must match) in a root file;
    // true when the package was saved.
    bool Replace(const CString& entry, const std::string& pattern, const std::string& replacement) const;
    bool EditMetadata(const std::function<void(VdcContainer::Metadata::Container&)>& edit) const;
    bool SetMimeType(const CString& mimeType) const;

    // The record read by opening the package; null when the package holds no valid one.
    std::unique_ptr<OvxComponent::ExtensionContainerInfo> Read() const;
    // Why the package's record cannot be read; empty when it can.
    CString InfoError() const;

private:
    TempFolder m_temp;
    CString m_path;
    OvxUtils::Guid m_instanceId;
};

}  // namespace OvxTest
