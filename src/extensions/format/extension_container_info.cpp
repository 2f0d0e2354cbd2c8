// ExtensionContainerInfo: construction, copying and the accessors of the metadata record.
#include "OvxComponent/extensions/format/extension_container_info.h"

#include "platform/string_utils.h"

#include <algorithm>
#include <optional>

namespace OvxComponent {
namespace {

constexpr CString::XCHAR kListSeparator = u',';

std::vector<CString> SplitList(const CString& text) {
    return OvxUtils::String::Split(text, kListSeparator, false, true);
}

CString JoinList(const std::vector<CString>& items) {
    CString text;
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (i > 0) text += kListSeparator;
        text += items[i];
    }
    return text;
}

template <class E>
CString ListToString(const std::vector<E>& values) {
    std::vector<CString> texts;
    texts.reserve(values.size());
    for (E value : values) texts.push_back(ToString(value));
    return JoinList(texts);
}

template <class E>
std::vector<E> ListFromString(const CString& text, std::optional<E> (*fromString)(const CString&)) {
    std::vector<E> values;
    for (const CString& name : SplitList(text)) {
        if (const std::optional<E> value = fromString(name)) values.push_back(*value);
    }
    return values;
}

CString BoundToString(const std::optional<OvxUtils::Version>& bound) {
    return bound ? bound->ToString() : CString(u"*");
}

std::optional<OvxUtils::Version> BoundFromString(const CString& text) {
    if (text.IsEmpty() || text == u"*") return std::nullopt;
    return OvxUtils::Version::Parse(text);
}

OvxUtils::VersionRange RangeFromStrings(const CString& min, const CString& max) {
    return {BoundFromString(min), BoundFromString(max)};
}

}  // namespace

ExtensionContainerInfo::ExtensionContainerInfo() = default;
ExtensionContainerInfo::ExtensionContainerInfo(const ExtensionContainerInfo&) = default;
ExtensionContainerInfo::ExtensionContainerInfo(ExtensionContainerInfo&&) noexcept = default;
ExtensionContainerInfo& ExtensionContainerInfo::operator=(const ExtensionContainerInfo&) = default;
ExtensionContainerInfo& ExtensionContainerInfo::operator=(ExtensionContainerInfo&&) noexcept = default;
ExtensionContainerInfo::~ExtensionContainerInfo() = default;

std::unique_ptr<VdcContainer::SubtypeInfo> ExtensionContainerInfo::Clone() const {
    return std::make_unique<ExtensionContainerInfo>(*this);
}

std::unique_ptr<ExtensionContainerInfo> ExtensionContainerInfo::Modify() const {
    return std::make_unique<ExtensionContainerInfo>(*this);
}

OvxUtils::Version ExtensionContainerInfo::GetVersion() const { return m_data.Version; }
void ExtensionContainerInfo::SetVersion(OvxUtils::Version version) { m_data.Version = std::move(version); }
CString ExtensionContainerInfo::GetVersionAsString() const { return m_data.Version.ToString(); }

CString ExtensionContainerInfo::GetExtensionType() const { return m_data.ExtensionType; }
CString ExtensionContainerInfo::GetSubformatAsString() const { return m_data.ExtensionType; }
void ExtensionContainerInfo::SetSubformatAsString(CString subformat) { m_data.ExtensionType = std::move(subformat); }

OvxUtils::Guid ExtensionContainerInfo::GetDocumentID() const { return m_data.DocumentID; }
void ExtensionContainerInfo::SetDocumentID(const OvxUtils::Guid& id) { m_data.DocumentID = id; }
const OvxUtils::Guid& ExtensionContainerInfo::GetInstanceID() const { return m_instanceID; }
void ExtensionContainerInfo::SetInstanceID(const OvxUtils::Guid& id) { m_instanceID = id; }
const std::vector<OvxUtils::Guid>& ExtensionContainerInfo::GetDerivedFrom() const { return m_derivedFrom; }
void ExtensionContainerInfo::SetDerivedFrom(std::vector<OvxUtils::Guid> ids) { m_derivedFrom = std::move(ids); }

OvxUtils::array_view<const ExtensionAppSupport> ExtensionContainerInfo::GetAppList() const {
    return m_data.requirements.AppList;
}

void ExtensionContainerInfo::SetAppList(OvxUtils::array_view<const ExtensionAppSupport> apps) {
    m_data.requirements.AppList.assign(apps.begin(), apps.end());
}

CString ExtensionContainerInfo::GetApplistAsString() const { return ListToString(m_data.requirements.AppList); }

bool ExtensionContainerInfo::SetApplist(const CString& text) {
    m_data.requirements.AppList = ListFromString(text, &ExtensionAppSupportFromString);
    return true;
}

OvxUtils::VersionRange ExtensionContainerInfo::GetAppVersion() const { return m_data.requirements.AppVersion; }

bool ExtensionContainerInfo::SetAppVersion(OvxUtils::VersionRange range) {
    m_data.requirements.AppVersion = std::move(range);
    return true;
}

OvxUtils::VersionRange ExtensionContainerInfo::GetWinVersion() const { return m_data.requirements.WinVersion; }

bool ExtensionContainerInfo::SetWinVersion(OvxUtils::VersionRange range) {
    m_data.requirements.WinVersion = std::move(range);
    return true;
}

CString ExtensionContainerInfo::GetAppMinVersionAsString() const {
    return BoundToString(m_data.requirements.AppVersion.min);
}
CString ExtensionContainerInfo::GetAppMaxVersionAsString() const {
    return BoundToString(m_data.requirements.AppVersion.max);
}
CString ExtensionContainerInfo::GetWinMinVersionAsString() const {
    return BoundToString(m_data.requirements.WinVersion.min);
}
CString ExtensionContainerInfo::GetWinMaxVersionAsString() const {
    return BoundToString(m_data.requirements.WinVersion.max);
}

bool ExtensionContainerInfo::SetAppMinMaxVersion(const CString& min, const CString& max) {
    m_data.requirements.AppVersion = RangeFromStrings(min, max);
    return true;
}

bool ExtensionContainerInfo::SetWinMinMaxVersion(const CString& min, const CString& max) {
    m_data.requirements.WinVersion = RangeFromStrings(min, max);
    return true;
}

OvxUtils::array_view<const OvxUtils::runtime_bits> ExtensionContainerInfo::GetPlatformSupport() const {
    return m_data.requirements.PlatformSupport;
}

bool ExtensionContainerInfo::SetPlatformSupport(OvxUtils::array_view<const OvxUtils::runtime_bits> platforms) {
    m_data.requirements.PlatformSupport.assign(platforms.begin(), platforms.end());
    return true;
}

bool ExtensionContainerInfo::SetPlatformSupport(const CString& text) {
    m_data.requirements.PlatformSupport = ListFromString(text, &OvxUtils::RuntimeBitsFromString);
    return true;
}

CString ExtensionContainerInfo::GetPlatformSupportAsString() const {
    return ListToString(m_data.requirements.PlatformSupport);
}

MultiLanguageString ExtensionContainerInfo::GetKeywords() const { return join(m_data.Keywords, u","); }

bool ExtensionContainerInfo::SetKeywords(const MultiLanguageString& value) {
    m_data.Keywords = split(value, u",");
    return true;
}

MultiLanguageString ExtensionContainerInfo::GetNotes() const { return m_data.Notes; }

bool ExtensionContainerInfo::SetNotes(MultiLanguageString notes) {
    m_data.Notes = std::move(notes);
    return true;
}

CString ExtensionContainerInfo::GetCreatorTool() const { return m_data.CreatorTool; }

bool ExtensionContainerInfo::SetCreatorTool(CString tool) {
    m_data.CreatorTool = std::move(tool);
    return true;
}

OvxUtils::array_view<const std::vector<CString>> ExtensionContainerInfo::GetFeatureRequirements() const {
    return m_data.requirements.Features;
}

std::vector<CString> ExtensionContainerInfo::GetFeatureRequirementsAsStrings() const {
    std::vector<CString> texts;
    texts.reserve(m_data.requirements.Features.size());
    for (const std::vector<CString>& group : m_data.requirements.Features) texts.push_back(JoinList(group));
    return texts;
}

bool ExtensionContainerInfo::AddFeatureRequirement(OvxUtils::array_view<const CString> group) {
    const bool unwritable = std::any_of(group.begin(), group.end(),
                                        [](const CString& name) { return name.Find(kListSeparator) >= 0; });
    if (unwritable) return false;
    m_data.requirements.Features.emplace_back(group.begin(), group.end());
    return true;
}

bool ExtensionContainerInfo::AddFeatureRequirementFromString(const CString& text) {
    return AddFeatureRequirement(SplitList(text));
}

bool ExtensionContainerInfo::SetAllFeatureRequirements(OvxUtils::array_view<const CString> groups) {
    ClearAllFeatureRequirements();
    for (const CString& group : groups) {
        if (!AddFeatureRequirementFromString(group)) return false;
    }
    return true;
}

bool ExtensionContainerInfo::ClearAllFeatureRequirements() {
    m_data.requirements.Features.clear();
    return true;
}

const ExtensionRequirements& ExtensionContainerInfo::GetRequirements() const { return m_data.requirements; }
ExtensionData& ExtensionContainerInfo::data() { return m_data; }
const ExtensionData& ExtensionContainerInfo::data() const { return m_data; }

}  // namespace OvxComponent
