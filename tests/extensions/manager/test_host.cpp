// Test helpers for the extension manager.
#include "test_host.h"

#include "OvxComponent/extensions/format/extension_packing.h"
#include "extensions/trust/package_signing.h"
#include "platform/system_io/file.h"
#include "platform/system_io/folder.h"
#include "platform/system_io/path.h"
#include "support/wait_until.h"

#include <array>
#include <filesystem>

#include <gtest/gtest.h>

#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#include <unistd.h>
#endif

namespace OvxTest {

using namespace OvxComponent;
namespace SystemIO = OvxUtils::SystemIO;

#ifdef _WIN32
HeldOpen::HeldOpen(const CString& path) {
    const HANDLE file = ::CreateFileW(path.GetString(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file != INVALID_HANDLE_VALUE) m_handle = reinterpret_cast<std::intptr_t>(file);
}
HeldOpen::~HeldOpen() {
    if (IsHeld()) ::CloseHandle(reinterpret_cast<HANDLE>(m_handle));
}
#else
HeldOpen::HeldOpen(const CString& path) : m_handle(::open(path.ToUtf8().c_str(), O_RDONLY | O_CLOEXEC)) {}
HeldOpen::~HeldOpen() {
    if (IsHeld()) ::close(static_cast<int>(m_handle));
}
#endif

PackageRecipe WithUi(int number) {
    return {TestGuid(number), {1}, kTestExtensionType, {{u"appui.xslt", "<xsl/>"}, {u"config.xml", "<c/>"}, {u"Test/addon", ""}}};
}

CString PackExtension(const CString& packagePath, const PackageRecipe& recipe) {
    TempFolder staging;
    std::vector<CString> files;
    for (const auto& [relative, bytes] : recipe.files) files.push_back(staging.WriteFile(u"content/" + relative, bytes));
    ExtensionContainerInfo info;
    info.SetDocumentID(recipe.id);
    info.SetVersion(recipe.version);
    info.SetSubformatAsString(recipe.type);
    const ExtensionAppSupport apps[] = {recipe.app};
    info.SetAppList(apps);
    const OvxUtils::runtime_bits platforms[] = {OvxUtils::runtime_bits::x64};
    info.SetPlatformSupport(platforms);
    info.SetAppMinMaxVersion(u"18", u"19");
    info.SetWinMinMaxVersion(u"0.1", u"*");

    EXPECT_TRUE(SystemIO::Folder::EnsureExists(SystemIO::Path::GetParentFolder(packagePath)));
    const auto opener = [&] {
        auto opened = ExtensionContainer::Open(packagePath, VdcContainer::ZipFile::OpenMode::Create);
        return opened ? std::move(*opened) : ExtensionContainer();
    };
    ExtensionContainer package = PackFiles(opener, info.data(), staging / u"content/", files);
    EXPECT_TRUE(package) << "packing failed";
    if (package) {
        EXPECT_TRUE(package.Close()) << "saving failed";
    }
    return packagePath;
}

void SignInPlace(const CString& path, const Minisign::SecretKey& key) {
    const CString signedCopy = path + u".signed";
    auto signer = Trust::SignPackage(path, signedCopy, key, 1700000000, false);
    ASSERT_TRUE(signer) << signer.ErrorText().ToUtf8();
    std::filesystem::rename(std::filesystem::path(signedCopy.Str()), std::filesystem::path(path.Str()));
}

OvxUtils::Guid TestGuid(int number) {
    return OvxUtils::Guid(0x0E000000u + static_cast<std::uint32_t>(number), 0x1111, 0x2222, {1, 2, 3, 4, 5, 6, 7, 8});
}

std::string Line(std::string_view level, const CString& name, std::string_view text) {
    return "(" + std::string(level) + "): \"" + name.ToUtf8() + "\" " + std::string(text);
}

std::string Line(std::string_view level, const OvxUtils::Guid& guid, std::string_view text) {
    return "(" + std::string(level) + "): " + guid.ToString().ToUtf8() + " " + std::string(text);
}

void WaitForTheChangeClockToMove(const CString& path) {
    const auto before = SystemIO::File::GetIdentity(path);
    const CString probe = path + u".probe";
    EXPECT_TRUE(WaitUntil([&] {
        if (!SystemIO::File::WriteAllBytes(probe, "x")) return false;
        const auto now = SystemIO::File::GetIdentity(probe);
        return before && now && now->changeTime > before->changeTime;
    }));
    SystemIO::File::Delete(probe);
}

TestHost::TestHost(const CString& work)
    : root(SystemIO::Path::Combine(work, u"data")), source(SystemIO::Path::Combine(work, u"source")) {}

TestHost::TestHost() : root(temp / u"data"), source(temp / u"source") {
    EXPECT_TRUE(SystemIO::Folder::EnsureExists(root) && SystemIO::Folder::EnsureExists(source));
}

std::shared_ptr<ExtensionManagerImpl> TestHost::MakeManager(bool hostStream, std::vector<CString> addonNames,
                                                            Trust::TrustStore trust) {
    const ExtensionSourceFolder sources[] = {{u"test source", source}};
    auto dispatch = [this](OvxUtils::Delegate<void()> work) {
        std::lock_guard lock(m_mutex);
        m_queue.push_back(std::move(work));
    };
    auto features = [](CString) { return true; };
    OvxUtils::NamedOutStream output{u"test log", std::nullopt, hostStream ? stream : nullptr};
    return ExtensionManagerImpl::Make(root, sources, dispatch, features, runsApp, addonNames, std::move(output),
                                      std::move(trust));
}

std::string MarkerOfACrashIn(const OvxUtils::Guid& documentId, ExtensionCall call) {
    ExtensionLog log({u"marker", std::nullopt, std::make_shared<OvxUtils::MemoryStream>()});
    CallGuard guard(log);
    std::array<unsigned char, CallGuard::kMemorySize> marker{};
    guard.Attach(marker);
    const auto inFlight = guard.Enter(documentId, call);
    return std::string(reinterpret_cast<const char*>(marker.data()), marker.size());
}

std::string Utf16ToUtf8(std::string_view bytes) {
    std::u16string units;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        units += static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) | static_cast<unsigned char>(bytes[i + 1]) << 8);
    }
    return CString(units).ToUtf8();
}

std::vector<std::string> TestHost::TakeLines() {
    const std::string text = Utf16ToUtf8(std::string_view(stream->Bytes()).substr(m_taken));
    m_taken = stream->Bytes().size();
    std::vector<std::string> lines;
    for (std::size_t start = 0, end; (end = text.find("\r\n", start)) != std::string::npos; start = end + 2) {
        const std::string_view line = std::string_view(text).substr(start, end - start);
        const std::size_t stamp = line.find("] ");
        lines.emplace_back(line.substr(stamp == std::string_view::npos ? 0 : stamp + 2));
    }
    return lines;
}

int TestHost::RunMainThread() {
    std::vector<OvxUtils::Delegate<void()>> work;
    {
        std::lock_guard lock(m_mutex);
        work.swap(m_queue);
    }
    for (auto& item : work) item();
    return static_cast<int>(work.size());
}

std::shared_ptr<IExtensionState> TestInstaller::Load(const OvxUtils::Guid& documentId, const OvxUtils::Version& version,
                                                     CString mimeType, CString path) const {
    if (beforeCall) beforeCall(documentId, ExtensionCall::Load);
    loadedPaths.push_back(path);
    if (refuseLoads) return nullptr;
    ExtensionData data;
    data.DocumentID = documentId;
    data.Version = version;
    data.ExtensionType = mimeType;
    return std::make_shared<TestState>(std::move(data));
}

OvxUtils::optional<UnloadResult> TestInstaller::Unload(std::shared_ptr<IExtensionState>& state) const {
    if (beforeCall) beforeCall(state->Data().DocumentID, ExtensionCall::Unload);
    ++unloads;
    if (unloadAnswer) static_cast<TestState&>(*state).MarkUnloaded();
    return unloadAnswer;
}

TestInstaller::~TestInstaller() {
    if (destroyed) ++*destroyed;
}

}  // namespace OvxTest
