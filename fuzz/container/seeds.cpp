// ovx_container_seeds OPEN_DIR XML_DIR: writes the seed corpora of the container fuzzers,
// made by the library itself so that no binary seed is kept in the source tree. OPEN_DIR
// gets whole widget packages; XML_DIR gets their XML entries and a few hand-written
// documents that use prefixes and the constructs the parser must refuse.

#include "OvxComponent/container/zip_container.h"
#include "container/add_files.h"
#include "widget_package.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using VdcContainer::ZipFile::OpenMode;

void Write(const fs::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

CString Text(const fs::path& path) { return CString::FromUtf8(path.string()); }

// Packs a widget package with the given content files (relative path, bytes).
bool Pack(const fs::path& package, const fs::path& scratch,
          const std::vector<std::pair<std::string, std::string>>& content) {
    fs::remove_all(scratch);
    std::vector<CString> files;
    for (const auto& [name, bytes] : content) {
        fs::create_directories((scratch / name).parent_path());
        Write(scratch / name, bytes);
        files.push_back(Text(scratch / name));
    }
    auto opened = OvxTest::WidgetPackage::Open(Text(package), OpenMode::Create);
    if (!opened) return false;
    opened->Container().SetReproducible(true);
    opened->SetInfo(std::make_unique<OvxTest::WidgetInfo>(OvxTest::SampleWidget()));
    if (!files.empty() && !VdcContainer::AddFiles(*opened, Text(scratch), files, u"content")) return false;
    return static_cast<bool>(opened->Close());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s OPEN_DIR XML_DIR\n", argv[0]);
        return 2;
    }
    const fs::path openDir = argv[1];
    const fs::path xmlDir = argv[2];
    fs::create_directories(openDir);
    fs::create_directories(xmlDir);
    const fs::path scratch = openDir / ".scratch";

    const bool packed = Pack(openDir / "empty.pkg", scratch, {}) &&
                        Pack(openDir / "content.pkg", scratch,
                             {{"a.txt", "alpha"}, {"sub/b.txt", std::string(300, 'b')}, {"sub/deeper/c.xml", "<c/>"}});
    fs::remove_all(scratch);
    if (!packed) {
        std::fprintf(stderr, "cannot pack the seed packages\n");
        return 1;
    }

    auto container = VdcContainer::ZipContainer::Open(Text(openDir / "content.pkg"), OpenMode::ReadOnly);
    if (!container) return 1;
    int count = 0;
    for (const VdcContainer::ContainerEntry& entry : container->GetEntries()) {
        if (!entry.name.ToUtf8().ends_with(".xml")) continue;
        auto bytes = container->ReadEntry(entry.name);
        if (bytes) Write(xmlDir / ("entry" + std::to_string(count++) + ".xml"), *bytes);
    }
    Write(xmlDir / "prefixed.xml",
          "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<w:widget xmlns:w=\"urn:test:widget\" w:name=\"x &amp; y\">"
          "<w:part>gear</w:part><part xmlns=\"urn:test:widget\">axle &#x263A;</part><other:part xmlns:other=\"urn:x\"/>"
          "</w:widget>");
    Write(xmlDir / "doctype.xml", "<!DOCTYPE w [<!ENTITY e \"ee\">]><w>&e;</w>");
    Write(xmlDir / "mixed.xml", "<a><!-- c --><![CDATA[x<y]]>text<?pi data?><b c='1'>t</b>tail</a>");
    return 0;
}
