// ExtensionContainerInfo: the metadata record of one extension package.
//
// The package container attaches one record to every package it opens or packs; the
// extension manager reads it to decide whether, and which version of, an extension to
// unpack and load. A record is a plain value: it is copied freely, takes no lock and
// belongs to whoever holds it. All of its state is the ExtensionData, the InstanceID and
// the DerivedFrom list; the setters that take text never fail on what they cannot read,
// and only AddFeatureRequirement refuses its input.
//
// Serialize and Deserialize map the record to and from the container metadata,
// extension.xml and requirements.xml; the container calls them when it saves or opens a
// package. Neither reports a message: false is the whole answer.
#pragma once

#include "OvxComponent/container/subtype_info.h"
#include "OvxComponent/extensions/format/extension_data.h"
#include "OvxComponent/platform/array_view.h"
#include "OvxComponent/platform/guid.h"

#include <memory>
#include <vector>

namespace OvxComponent {

class OVX_API ExtensionContainerInfo : public VdcContainer::SubtypeInfo {
public:
    ExtensionContainerInfo();
    ExtensionContainerInfo(const ExtensionContainerInfo&);
    ExtensionContainerInfo(ExtensionContainerInfo&&) noexcept;
    ExtensionContainerInfo& operator=(const ExtensionContainerInfo&);
    ExtensionContainerInfo& operator=(ExtensionContainerInfo&&) noexcept;
    ~ExtensionContainerInfo() override;

    // Writes the record; an all-zero InstanceID is replaced by a new one first, and kept.
    // False only when requirements.xml cannot be added or written.
    bool Serialize(VdcContainer::Metadata::Container& metadata, VdcContainer::XmlNS::Node& root,
                   VdcContainer::AddRootFileDelegate addRootFile) override;
    // Reads and checks the record. On false the record is left partly filled.
    bool Deserialize(const VdcContainer::Metadata::Container& metadata, const VdcContainer::XmlNS::Node& root,
                     VdcContainer::ReadRootFileDelegate readRootFile) override;
    std::unique_ptr<VdcContainer::SubtypeInfo> Clone() const override;
    // A copy that the caller may change and hand back to the container.
    std::unique_ptr<ExtensionContainerInfo> Modify() const;

    OvxUtils::Version GetVersion() const;
    void SetVersion(OvxUtils::Version version);
    // The components joined by "."; "0" for a version without components.
    CString GetVersionAsString() const;

    CString GetExtensionType() const;
    CString GetSubformatAsString() const;
    void SetSubformatAsString(CString subformat);

    OvxUtils::Guid GetDocumentID() const;
    void SetDocumentID(const OvxUtils::Guid& id);
    const OvxUtils::Guid& GetInstanceID() const;
    void SetInstanceID(const OvxUtils::Guid& id);
    const std::vector<OvxUtils::Guid>& GetDerivedFrom() const;
    void SetDerivedFrom(std::vector<OvxUtils::Guid> ids);

    // Views stay valid until the record changes.
    OvxUtils::array_view<const ExtensionAppSupport> GetAppList() const;
    void SetAppList(OvxUtils::array_view<const ExtensionAppSupport> apps);
    // Application texts joined by ",", for example Atlas,Cinder.
    CString GetApplistAsString() const;
    // Reads the text of GetApplistAsString; names that are not applications are skipped.
    bool SetApplist(const CString& text);

    OvxUtils::VersionRange GetAppVersion() const;
    bool SetAppVersion(OvxUtils::VersionRange range);
    OvxUtils::VersionRange GetWinVersion() const;
    bool SetWinVersion(OvxUtils::VersionRange range);
    // A bound's version text, or "*" when the bound is absent.
    CString GetAppMinVersionAsString() const;
    CString GetAppMaxVersionAsString() const;
    CString GetWinMinVersionAsString() const;
    CString GetWinMaxVersionAsString() const;
    // Replaces the whole range. An empty text or "*" leaves that bound absent; other texts
    // are read leniently (Version::Parse). Whether min is below max is not checked.
    bool SetAppMinMaxVersion(const CString& min, const CString& max);
    bool SetWinMinMaxVersion(const CString& min, const CString& max);

    OvxUtils::array_view<const OvxUtils::runtime_bits> GetPlatformSupport() const;
    bool SetPlatformSupport(OvxUtils::array_view<const OvxUtils::runtime_bits> platforms);
    // Reads a text such as x32,x64; names that are not platforms are skipped.
    bool SetPlatformSupport(const CString& text);
    CString GetPlatformSupportAsString() const;

    // All keywords as one string, joined by "," language by language.
    MultiLanguageString GetKeywords() const;
    // Splits value at "," into the keywords.
    bool SetKeywords(const MultiLanguageString& value);

    MultiLanguageString GetNotes() const;
    bool SetNotes(MultiLanguageString notes);
    CString GetCreatorTool() const;
    bool SetCreatorTool(CString tool);

    OvxUtils::array_view<const std::vector<CString>> GetFeatureRequirements() const;
    // One text per group, its names joined by ",".
    std::vector<CString> GetFeatureRequirementsAsStrings() const;
    // Appends one any-of group, which may be empty. False, with nothing added, when a name
    // contains ",", since the group's text form could not hold it.
    bool AddFeatureRequirement(OvxUtils::array_view<const CString> group);
    // Splits text at "," into the names of one new group.
    bool AddFeatureRequirementFromString(const CString& text);
    // Replaces all groups, one per text. On a failure, the groups added before it stay.
    bool SetAllFeatureRequirements(OvxUtils::array_view<const CString> groups);
    bool ClearAllFeatureRequirements();

    const ExtensionRequirements& GetRequirements() const;
    ExtensionData& data();
    const ExtensionData& data() const;

    // Why the last Deserialize refused the record: the rule and the element, attribute or
    // property that broke it ("requirements.xml: ..." or "metadata: ..."). Empty otherwise.
    CString RefusalReason() const override { return m_refusal; }

private:
    // Records why reading stops, and returns false for the caller to return.
    bool Refuse(CString reason);
    bool WriteRequirements(VdcContainer::XmlNS::Node& root) const;
    // Refuses any child other than require_must, and, deliberately in this version of the
    // format, any feature requirement: its group is added, then reading stops with false.
    bool ReadRequirements(const VdcContainer::XmlNS::Node& root);

    ExtensionData m_data;
    OvxUtils::Guid m_instanceID;
    std::vector<OvxUtils::Guid> m_derivedFrom;
    CString m_refusal;  // see RefusalReason
};

}  // namespace OvxComponent
