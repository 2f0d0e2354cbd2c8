/// \file
/// ExtensionContainerInfo: the metadata record of one extension package.
///
/// The package container attaches one record to every package it opens or packs; the
/// extension manager reads it to decide whether, and which version of, an extension to
/// unpack and load. A record is a plain value: it is copied freely, takes no lock and
/// belongs to whoever holds it. All of its state is the ExtensionData, the InstanceID and
/// the DerivedFrom list; the setters that take text never fail on what they cannot read,
/// and only AddFeatureRequirement refuses its input.
///
/// Serialize and Deserialize map the record to and from the container metadata,
/// extension.xml and requirements.xml; the container calls them when it saves or opens a
/// package. Neither reports a message: false is the whole answer.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/container/subtype_info.h"
#include "OvxComponent/extensions/format/extension_data.h"
#include "OvxComponent/platform/array_view.h"
#include "OvxComponent/platform/guid.h"

#include <memory>
#include <vector>

namespace OvxComponent {

/// The metadata record of one extension package: what extension.xml, requirements.xml
/// and the container metadata say about it.
class OVX_API ExtensionContainerInfo : public VdcContainer::SubtypeInfo {
public:
    ExtensionContainerInfo();
    ///@{
    /// A record is a plain value: copies and moves are independent records.
    ExtensionContainerInfo(const ExtensionContainerInfo&);
    ExtensionContainerInfo(ExtensionContainerInfo&&) noexcept;
    ///@}
    ///@{
    /// A record is a plain value: copies and moves are independent records.
    /// \return This record.
    ExtensionContainerInfo& operator=(const ExtensionContainerInfo&);
    ExtensionContainerInfo& operator=(ExtensionContainerInfo&&) noexcept;
    ///@}
    ~ExtensionContainerInfo() override;

    /// Writes the record; an all-zero InstanceID is replaced by a new one first, and kept.
    /// False only when requirements.xml cannot be added or written.
    /// \param metadata The container metadata to write into.
    /// \param root The root element of extension.xml.
    /// \param addRootFile Adds requirements.xml to the container.
    /// \return False when requirements.xml cannot be added or written.
    bool Serialize(VdcContainer::Metadata::Container& metadata, VdcContainer::XmlNS::Node& root,
                   VdcContainer::AddRootFileDelegate addRootFile) override;
    /// Reads and checks the record. On false the record is left partly filled.
    /// \param metadata The container metadata.
    /// \param root The root element of extension.xml.
    /// \param readRootFile Reads requirements.xml from the container.
    /// \return False when the record is refused; RefusalReason says why.
    bool Deserialize(const VdcContainer::Metadata::Container& metadata, const VdcContainer::XmlNS::Node& root,
                     VdcContainer::ReadRootFileDelegate readRootFile) override;
    /// A copy of the record, for the container.
    /// \return The copy.
    std::unique_ptr<VdcContainer::SubtypeInfo> Clone() const override;
    /// A copy that the caller may change and hand back to the container.
    /// \return The copy.
    std::unique_ptr<ExtensionContainerInfo> Modify() const;

    /// \return The extension's version.
    OvxUtils::Version GetVersion() const;
    /// \param version The extension's version.
    void SetVersion(OvxUtils::Version version);
    /// \return The version's components joined by "."; "0" for a version without components.
    CString GetVersionAsString() const;

    /// \return The extension type: the MIME type that chooses the host's installer.
    CString GetExtensionType() const;
    /// \return The extension type as the record stores it.
    CString GetSubformatAsString() const;
    /// \param subformat The extension type.
    void SetSubformatAsString(CString subformat);

    /// \return The document ID: the extension's identity across its versions.
    OvxUtils::Guid GetDocumentID() const;
    /// \param id The document ID.
    void SetDocumentID(const OvxUtils::Guid& id);
    /// \return The instance ID: the identity of this one package.
    const OvxUtils::Guid& GetInstanceID() const;
    /// \param id The instance ID.
    void SetInstanceID(const OvxUtils::Guid& id);
    /// \return The instance IDs of the packages this one was made from.
    const std::vector<OvxUtils::Guid>& GetDerivedFrom() const;
    /// \param ids The instance IDs of the packages this one was made from.
    void SetDerivedFrom(std::vector<OvxUtils::Guid> ids);

    /// \return The host applications the extension runs in; valid until the record changes.
    OvxUtils::array_view<const ExtensionAppSupport> GetAppList() const;
    /// \param apps The host applications the extension runs in.
    void SetAppList(OvxUtils::array_view<const ExtensionAppSupport> apps);
    /// \return The application texts joined by ",", for example Atlas,Cinder.
    CString GetApplistAsString() const;
    /// Reads the text of GetApplistAsString; names that are not applications are skipped.
    /// \param text Application texts joined by ",".
    /// \return Always true: every value is stored.
    bool SetApplist(const CString& text);

    /// \return The range of suite versions the extension runs on.
    OvxUtils::VersionRange GetAppVersion() const;
    /// \param range The range of suite versions the extension runs on.
    /// \return Always true: every value is stored.
    bool SetAppVersion(OvxUtils::VersionRange range);
    /// \return The range of Windows versions the extension runs on.
    OvxUtils::VersionRange GetWinVersion() const;
    /// \param range The range of Windows versions the extension runs on.
    /// \return Always true: every value is stored.
    bool SetWinVersion(OvxUtils::VersionRange range);
    ///@{
    /// A bound of a range as text.
    /// \return The bound's version text, or "*" when the bound is absent.
    CString GetAppMinVersionAsString() const;
    CString GetAppMaxVersionAsString() const;
    CString GetWinMinVersionAsString() const;
    CString GetWinMaxVersionAsString() const;
    ///@}
    ///@{
    /// Replaces the whole range (suite or Windows versions). An empty text or "*" leaves that
    /// bound absent; other texts are read leniently (Version::Parse). Whether min is below
    /// max is not checked.
    /// \param min The lowest version inside the range.
    /// \param max The bound above the range.
    /// \return Always true: every value is stored.
    bool SetAppMinMaxVersion(const CString& min, const CString& max);
    bool SetWinMinMaxVersion(const CString& min, const CString& max);
    ///@}

    /// \return The platforms (x32, x64) the extension is built for.
    OvxUtils::array_view<const OvxUtils::runtime_bits> GetPlatformSupport() const;
    /// \param platforms The platforms the extension is built for.
    /// \return Always true: every value is stored.
    bool SetPlatformSupport(OvxUtils::array_view<const OvxUtils::runtime_bits> platforms);
    /// Reads a text such as x32,x64; names that are not platforms are skipped.
    /// \param text Platform names joined by ",".
    /// \return Always true: every value is stored.
    bool SetPlatformSupport(const CString& text);
    /// \return The platforms joined by ",", for example x32,x64.
    CString GetPlatformSupportAsString() const;

    /// \return All keywords as one string, joined by "," language by language.
    MultiLanguageString GetKeywords() const;
    /// Splits value at "," into the keywords.
    /// \param value The keywords joined by ",", with language variants.
    /// \return Always true: every value is stored.
    bool SetKeywords(const MultiLanguageString& value);

    /// \return The notes, with their language variants.
    MultiLanguageString GetNotes() const;
    /// \param notes The notes, with their language variants.
    /// \return Always true: every value is stored.
    bool SetNotes(MultiLanguageString notes);
    /// \return The tool that made the package.
    CString GetCreatorTool() const;
    /// \param tool The tool that made the package.
    /// \return Always true: every value is stored.
    bool SetCreatorTool(CString tool);

    /// \return The feature requirements: groups of names of which the host must offer one
    /// each.
    OvxUtils::array_view<const std::vector<CString>> GetFeatureRequirements() const;
    /// \return One text per group, its names joined by ",".
    std::vector<CString> GetFeatureRequirementsAsStrings() const;
    /// Appends one any-of group, which may be empty. False, with nothing added, when a name
    /// contains ",", since the group's text form could not hold it.
    /// \param group The names of which the host must offer one.
    /// \return False when a name contains ",".
    bool AddFeatureRequirement(OvxUtils::array_view<const CString> group);
    /// Splits text at "," into the names of one new group.
    /// \param text The names joined by ",".
    /// \return Always true.
    bool AddFeatureRequirementFromString(const CString& text);
    /// Replaces all groups, one per text. On a failure, the groups added before it stay.
    /// \param groups One text per group, its names joined by ",".
    /// \return False when a group cannot be added.
    bool SetAllFeatureRequirements(OvxUtils::array_view<const CString> groups);
    /// Removes every feature requirement group.
    /// \return Always true.
    bool ClearAllFeatureRequirements();

    /// Every requirement of the record (requirements.xml).
    /// \return The requirements; valid until the record changes.
    const ExtensionRequirements& GetRequirements() const;
    ///@{
    /// The record's data, to read or change every field at once.
    /// \return The data; valid as long as the record.
    ExtensionData& data();
    const ExtensionData& data() const;
    ///@}

    /// Why the last Deserialize refused the record: the rule and the element, attribute or
    /// property that broke it ("requirements.xml: ..." or "metadata: ..."). Empty otherwise.
    /// \return The reason, or an empty text.
    CString RefusalReason() const override { return m_refusal; }

private:
    /// Records why reading stops, and returns false for the caller to return.
    bool Refuse(CString reason);
    bool WriteRequirements(VdcContainer::XmlNS::Node& root) const;
    /// Refuses any child other than require_must, and, deliberately in this version of the
    /// format, any feature requirement: its group is added, then reading stops with false.
    bool ReadRequirements(const VdcContainer::XmlNS::Node& root);

    ExtensionData m_data;
    OvxUtils::Guid m_instanceID;
    std::vector<OvxUtils::Guid> m_derivedFrom;
    CString m_refusal;  ///< see RefusalReason
};

}  // namespace OvxComponent
