// The metadata record in the library's byte encoding: field by field, in the order of
// ExtensionData, then the instance ID and the list of records it derives from.
#include "extensions/format/extension_info_bytes.h"

namespace OvxComponent {

namespace {

using OvxUtils::ByteReader;
using OvxUtils::ByteWriter;

// The least bytes an item of each kind takes, which bounds a count before it is reserved.
constexpr std::size_t kMinNumber = 4;
constexpr std::size_t kMinText = 4;
constexpr std::size_t kMinGuid = 16;
constexpr std::size_t kMinMultiLanguage = 8;
constexpr std::size_t kMinEntryPoint = 2 * kMinMultiLanguage + 4 + kMinText + 1;

void Write(ByteWriter& out, const OvxUtils::Guid& guid) {
    out.U32(guid.Data1);
    out.U32(static_cast<std::uint32_t>(guid.Data2) | static_cast<std::uint32_t>(guid.Data3) << 16);
    for (const std::uint8_t byte : guid.Data4) out.U8(byte);
}

OvxUtils::Guid ReadGuid(ByteReader& in) {
    OvxUtils::Guid guid;
    guid.Data1 = in.U32();
    const std::uint32_t middle = in.U32();
    guid.Data2 = static_cast<std::uint16_t>(middle & 0xFFFF);
    guid.Data3 = static_cast<std::uint16_t>(middle >> 16);
    for (std::uint8_t& byte : guid.Data4) byte = in.U8();
    return guid;
}

void Write(ByteWriter& out, const OvxUtils::Version& version) {
    out.U32(static_cast<std::uint32_t>(version.Components().size()));
    for (const std::int32_t component : version.Components()) out.I32(component);
}

OvxUtils::Version ReadVersion(ByteReader& in) {
    std::vector<std::int32_t> components(in.Count(kMinNumber));
    for (std::int32_t& component : components) component = in.I32();
    return OvxUtils::Version(std::move(components));
}

void Write(ByteWriter& out, const std::optional<OvxUtils::Version>& bound) {
    out.U8(bound ? 1 : 0);
    if (bound) Write(out, *bound);
}

std::optional<OvxUtils::Version> ReadBound(ByteReader& in) {
    if (!in.Bool()) return std::nullopt;
    return ReadVersion(in);
}

void Write(ByteWriter& out, const OvxUtils::VersionRange& range) {
    Write(out, range.min);
    Write(out, range.max);
}

OvxUtils::VersionRange ReadRange(ByteReader& in) {
    OvxUtils::VersionRange range;
    range.min = ReadBound(in);
    range.max = ReadBound(in);
    return range;
}

void Write(ByteWriter& out, const MultiLanguageString& text) {
    out.Text(text.GetDefault());
    out.U32(static_cast<std::uint32_t>(text.GetVariants().size()));
    for (const auto& [language, variant] : text.GetVariants()) {
        out.Text(language);
        out.Text(variant);
    }
}

MultiLanguageString ReadMultiLanguage(ByteReader& in) {
    MultiLanguageString text(in.Text());
    const std::size_t count = in.Count(2 * kMinText);
    for (std::size_t i = 0; i < count && in.Ok(); ++i) {
        CString language = in.Text();
        CString variant = in.Text();
        if (language.IsEmpty()) in.Fail();  // the default is not a variant
        text.Set(language, std::move(variant));
    }
    return text;
}

template <class Enum>
void WriteEnums(ByteWriter& out, const std::vector<Enum>& values) {
    out.U32(static_cast<std::uint32_t>(values.size()));
    for (const Enum value : values) out.I32(static_cast<std::int32_t>(value));
}

template <class Enum>
std::vector<Enum> ReadEnums(ByteReader& in) {
    std::vector<Enum> values(in.Count(kMinNumber));
    for (Enum& value : values) value = static_cast<Enum>(in.I32());
    return values;
}

void Write(ByteWriter& out, const ExtensionRequirements& requirements) {
    WriteEnums(out, requirements.AppList);
    Write(out, requirements.AppVersion);
    WriteEnums(out, requirements.PlatformSupport);
    Write(out, requirements.WinVersion);
    out.U32(static_cast<std::uint32_t>(requirements.Features.size()));
    for (const std::vector<CString>& group : requirements.Features) {
        out.U32(static_cast<std::uint32_t>(group.size()));
        for (const CString& feature : group) out.Text(feature);
    }
}

ExtensionRequirements ReadRequirements(ByteReader& in) {
    ExtensionRequirements requirements;
    requirements.AppList = ReadEnums<ExtensionAppSupport>(in);
    requirements.AppVersion = ReadRange(in);
    requirements.PlatformSupport = ReadEnums<OvxUtils::runtime_bits>(in);
    requirements.WinVersion = ReadRange(in);
    requirements.Features.resize(in.Count(kMinNumber));
    for (std::vector<CString>& group : requirements.Features) {
        group.resize(in.Count(kMinText));
        for (CString& feature : group) feature = in.Text();
    }
    return requirements;
}

void Write(ByteWriter& out, const ExtensionEntryPoint& entry) {
    Write(out, entry.Name);
    Write(out, entry.ShortDescription);
    out.I32(static_cast<std::int32_t>(entry.Type));
    out.Text(entry.Value);
    out.U8(entry.Guid ? 1 : 0);
    if (entry.Guid) out.Text(*entry.Guid);
}

ExtensionEntryPoint ReadEntryPoint(ByteReader& in) {
    ExtensionEntryPoint entry;
    entry.Name = ReadMultiLanguage(in);
    entry.ShortDescription = ReadMultiLanguage(in);
    entry.Type = static_cast<ExtensionEntryPointType>(in.I32());
    entry.Value = in.Text();
    if (in.Bool()) entry.Guid = in.Text();
    return entry;
}

}  // namespace

void WriteInfo(ByteWriter& out, const ExtensionContainerInfo& info) {
    const ExtensionData& data = info.data();
    Write(out, data.requirements);
    Write(out, data.Title);
    Write(out, data.Description);
    Write(out, data.DocumentID);
    out.Text(data.AuxiliaryString);
    Write(out, data.Version);
    out.Text(data.ExtensionType);
    out.U32(static_cast<std::uint32_t>(data.Keywords.size()));
    for (const MultiLanguageString& keyword : data.Keywords) Write(out, keyword);
    out.U32(static_cast<std::uint32_t>(data.EntryPoints.size()));
    for (const ExtensionEntryPoint& entry : data.EntryPoints) Write(out, entry);
    out.Text(data.CreatorTool);
    Write(out, data.Notes);
    out.I32(data.AuxiliaryInteger);
    Write(out, info.GetInstanceID());
    out.U32(static_cast<std::uint32_t>(info.GetDerivedFrom().size()));
    for (const OvxUtils::Guid& id : info.GetDerivedFrom()) Write(out, id);
}

std::unique_ptr<ExtensionContainerInfo> ReadInfo(ByteReader& in) {
    auto info = std::make_unique<ExtensionContainerInfo>();
    ExtensionData& data = info->data();
    data.requirements = ReadRequirements(in);
    data.Title = ReadMultiLanguage(in);
    data.Description = ReadMultiLanguage(in);
    data.DocumentID = ReadGuid(in);
    data.AuxiliaryString = in.Text();
    data.Version = ReadVersion(in);
    data.ExtensionType = in.Text();
    data.Keywords.resize(in.Count(kMinMultiLanguage));
    for (MultiLanguageString& keyword : data.Keywords) keyword = ReadMultiLanguage(in);
    data.EntryPoints.resize(in.Count(kMinEntryPoint));
    for (ExtensionEntryPoint& entry : data.EntryPoints) entry = ReadEntryPoint(in);
    data.CreatorTool = in.Text();
    data.Notes = ReadMultiLanguage(in);
    data.AuxiliaryInteger = in.I32();
    info->SetInstanceID(ReadGuid(in));
    std::vector<OvxUtils::Guid> derivedFrom(in.Count(kMinGuid));
    for (OvxUtils::Guid& id : derivedFrom) id = ReadGuid(in);
    info->SetDerivedFrom(std::move(derivedFrom));
    if (!in.Ok()) return nullptr;
    return info;
}

}  // namespace OvxComponent
