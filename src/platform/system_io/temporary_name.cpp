// TemporaryName: making and recognising the names of work in progress.
#include "platform/system_io/temporary_name.h"

#include "OvxComponent/platform/guid.h"
#include "platform/system_io/path.h"

#include <array>

namespace OvxUtils::SystemIO::TemporaryName {

namespace {

constexpr std::array kPurposes{kWriting, kPartial, kDeleting, kSaving};
constexpr std::size_t kTagLength = 8;

bool IsHexDigit(char16_t unit) {
    return (unit >= u'0' && unit <= u'9') || (unit >= u'A' && unit <= u'F') || (unit >= u'a' && unit <= u'f');
}

}  // namespace

CString Beside(const CString& path, std::u16string_view purpose) {
    const CString folder = Path::WithoutTrailingSeparators(path);
    const CString tag = Guid::Generate().ToString().Mid(1, static_cast<int>(kTagLength));
    const CString name = u"." + Path::GetFileName(folder) + u"." + CString(purpose) + u"-" + tag;
    return Path::Combine(Path::GetParentFolder(folder), name);
}

bool IsTemporary(const CString& name) {
    const int length = name.GetLength();
    const int dash = length - static_cast<int>(kTagLength) - 1;
    if (dash < 2 || name[0] != u'.' || name[dash] != u'-') return false;
    for (int i = dash + 1; i < length; ++i) {
        if (!IsHexDigit(static_cast<char16_t>(name[i]))) return false;
    }
    const CString head = name.Left(dash);
    for (std::u16string_view purpose : kPurposes) {
        const CString suffix = u"." + CString(purpose);
        if (head.GetLength() > suffix.GetLength() + 1 && head.EndsWith(suffix)) return true;
    }
    return false;
}

}  // namespace OvxUtils::SystemIO::TemporaryName
