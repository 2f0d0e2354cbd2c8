// Packs extension packages for the tests from a recipe.
#include "extension_package_builder.h"

#include "OvxComponent/container/zip_container.h"
#include "OvxComponent/extensions/format/extension_packing.h"

#include <gtest/gtest.h>

#include <regex>

namespace OvxTest {

using namespace OvxComponent;

ExtensionData SampleExtensionData() {
    ExtensionContainerInfo info;
    info.data().Title = MultiLanguageString(u"Snow | tools");
    info.data().Title.Set(u"de", u"Schnee\u2603");
    info.data().Description = MultiLanguageString(u"Draws snow");
    info.SetDocumentID(*OvxUtils::Guid::FromString(u"{6B2D6A10-1C1E-4E0B-9D1F-0A1B2C3D4E5F}"));
    info.SetVersion(OvxUtils::Version{2, 5, 1});
    info.SetSubformatAsString(u"script");
    MultiLanguageString keywords(u"snow,winter");
    keywords.Set(u"de", u"Schnee,Winter");
    info.SetKeywords(keywords);
    info.SetNotes(MultiLanguageString(u"first & best"));
    info.SetCreatorTool(u"ovxext 1.0");
    info.data().EntryPoints = {
        {MultiLanguageString(u"Snow"), MultiLanguageString(u"Let it snow"), ExtensionEntryPointType::Tool,
         u"snow.js", CString(u"{00000000-0000-0000-0000-0000000000AB}")},
        {MultiLanguageString(u"Melt"), MultiLanguageString(), ExtensionEntryPointType::Menu, u"melt", std::nullopt},
    };
    info.SetApplist(u"Atlas,Cinder");
    info.SetAppMinMaxVersion(u"18.0", u"19");
    info.SetPlatformSupport(u"x32,x64");
    info.SetWinMinMaxVersion(u"6.1", u"*");
    return info.data();
}

ExtensionPackageBuilder::ExtensionPackageBuilder(const ExtensionData& data) : m_path(m_temp / u"snow.OrvexExtension") {
    const CString file = m_temp.WriteFile(u"source/snow.js", "snow()");
    ExtensionContainer package = PackFile(
        [this] { return ExtensionContainer::Open(m_path, VdcContainer::ZipFile::OpenMode::Create).Value(); }, data,
        file);
    EXPECT_TRUE(package);
    if (!package) return;
    std::unique_ptr<ExtensionContainerInfo> info = package.GetInfo()->Modify();
    info->SetDerivedFrom({*OvxUtils::Guid::FromString(u"{11111111-2222-3333-4444-555555555555}")});
    package.SetInfo(std::move(info));
    const auto saved = package.Save();
    EXPECT_TRUE(saved) << saved.ErrorText();
    m_instanceId = package.GetInfo()->GetInstanceID();
    EXPECT_TRUE(package.Close());
}

bool ExtensionPackageBuilder::Replace(const CString& entry, const std::string& pattern,
                                      const std::string& replacement) const {
    auto container = VdcContainer::ZipContainer::Open(m_path, VdcContainer::ZipFile::OpenMode::ReadWrite);
    if (!container) return false;
    auto xml = container->ReadEntry(entry);
    if (!xml) return false;
    const std::regex regex(pattern);
    EXPECT_TRUE(std::regex_search(*xml, regex)) << pattern << " not in " << *xml;
    *xml = std::regex_replace(*xml, regex, replacement, std::regex_constants::format_first_only);
    for (const VdcContainer::RootFileInfo& root : container->GetRootFiles()) {
        if (root.name != entry) continue;
        const bool isMain = container->GetMainRootFile() && container->GetMainRootFile()->name == entry;
        if (!container->SetRootFile(root, isMain, *xml)) return false;
        return container->Close().HasValue();
    }
    return false;
}

bool ExtensionPackageBuilder::EditMetadata(const std::function<void(VdcContainer::Metadata::Container&)>& edit) const {
    auto container = VdcContainer::ZipContainer::Open(m_path, VdcContainer::ZipFile::OpenMode::ReadWrite);
    if (!container) return false;
    VdcContainer::Metadata::Container metadata = container->GetMetadata();
    edit(metadata);
    return container->SetMetadata(std::move(metadata)) && container->Close();
}

bool ExtensionPackageBuilder::SetMimeType(const CString& mimeType) const {
    auto container = VdcContainer::ZipContainer::Open(m_path, VdcContainer::ZipFile::OpenMode::ReadWrite);
    return container && container->SetMimeType(mimeType) && container->Close();
}

std::unique_ptr<ExtensionContainerInfo> ExtensionPackageBuilder::Read() const {
    auto package = ExtensionContainer::Open(m_path, VdcContainer::ZipFile::OpenMode::ReadOnly);
    if (!package || !package->GetInfo()) return nullptr;
    return package->GetInfo()->Modify();
}

CString ExtensionPackageBuilder::InfoError() const {
    auto package = ExtensionContainer::Open(m_path, VdcContainer::ZipFile::OpenMode::ReadOnly);
    return package ? package->GetInfoError() : package.ErrorText();
}

}  // namespace OvxTest
