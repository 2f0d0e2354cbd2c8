// Path syntax. The only platform difference is how a path is written (separators and
// roots), so both forms live here side by side.
#include "platform/system_io/path.h"

namespace OvxUtils::SystemIO::Path {

namespace {

using XCHAR = CString::XCHAR;

#if defined(_WIN32)

constexpr XCHAR kSeparator = L'\\';

bool IsDriveLetter(XCHAR unit) { return (unit >= L'A' && unit <= L'Z') || (unit >= L'a' && unit <= L'z'); }

// Index just past the component starting at from, and past one separator after it.
int SkipComponent(const CString& path, int from) {
    int i = from;
    while (i < path.GetLength() && !IsSeparator(path[i])) ++i;
    return i < path.GetLength() ? i + 1 : i;
}

// Length of the root: "\\?\C:\", "\\?\UNC\server\share\", "\\server\share\", "C:\",
// "C:", "\" or nothing.
int RootLength(const CString& path) {
    const int length = path.GetLength();
    if (length >= 2 && IsSeparator(path[0]) && IsSeparator(path[1])) {
        const bool device = length >= 4 && (path[2] == L'?' || path[2] == L'.') && IsSeparator(path[3]);
        if (!device) return SkipComponent(path, SkipComponent(path, 2));
        const CString rest = path.Mid(4);
        if (rest.GetLength() >= 3 && rest.Left(3).CompareNoCase(u"UNC") == 0 &&
            (rest.GetLength() == 3 || IsSeparator(rest[3]))) {
            return SkipComponent(path, SkipComponent(path, 8));
        }
        return SkipComponent(path, 4);
    }
    if (length >= 2 && IsDriveLetter(path[0]) && path[1] == L':') {
        return length >= 3 && IsSeparator(path[2]) ? 3 : 2;
    }
    return length >= 1 && IsSeparator(path[0]) ? 1 : 0;
}

// "C:" followed by a name means "on drive C:, in its current folder", so no separator
// goes between them.
bool NeedsSeparatorAfter(const CString& path) {
    const XCHAR last = path[path.GetLength() - 1];
    return !IsSeparator(last) && last != L':';
}

#else

constexpr XCHAR kSeparator = u'/';

int RootLength(const CString& path) { return !path.IsEmpty() && path[0] == u'/' ? 1 : 0; }

bool NeedsSeparatorAfter(const CString& path) { return path[path.GetLength() - 1] != u'/'; }

#endif

int LastSeparator(const CString& path) {
    for (int i = path.GetLength() - 1; i >= 0; --i) {
        if (IsSeparator(path[i])) return i;
    }
    return -1;
}

// Index where the last component starts.
int FileNameStart(const CString& path) {
    const int root = RootLength(path);
    const int last = LastSeparator(path);
    return last + 1 > root ? last + 1 : root;
}

// Index of the dot starting the extension, or -1.
int ExtensionStart(const CString& path) {
    const int dot = path.ReverseFind(XCHAR('.'));
    return dot >= FileNameStart(path) ? dot : -1;
}

CString WithoutDot(const CString& ext) { return !ext.IsEmpty() && ext[0] == XCHAR('.') ? ext.Mid(1) : ext; }

}  // namespace

XCHAR Separator() { return kSeparator; }

bool IsSeparator(XCHAR unit) {
#if defined(_WIN32)
    return unit == L'\\' || unit == L'/';
#else
    return unit == u'/';
#endif
}

CString Combine(const CString& a, const CString& b) {
    if (a.IsEmpty() || IsRooted(b)) return b;
    if (b.IsEmpty()) return a;
    CString out = a;
    if (NeedsSeparatorAfter(a)) out += kSeparator;
    return out + b;
}

CString Combine(const CString& a, const CString& b, const CString& c) { return Combine(Combine(a, b), c); }

bool IsRooted(const CString& path) { return RootLength(path) > 0; }

CString GetFileName(const CString& path) { return path.Mid(FileNameStart(path)); }

CString GetFolderName(const CString& path) {
    const int root = RootLength(path);
    const int last = LastSeparator(path);
    if (last < root) return path.Left(root);
    return path.Left(last + 1);
}

CString GetParentFolder(const CString& path) {
    const int root = RootLength(path);
    const int last = LastSeparator(path);
    if (last < root) return path.Left(root);
    return path.Left(last);
}

CString WithoutTrailingSeparators(const CString& path) {
    CString out = path;
    while (GetFileName(out).IsEmpty()) {
        CString parent = GetParentFolder(out);
        if (parent.GetLength() >= out.GetLength()) break;
        out = std::move(parent);
    }
    return out;
}

CString GetExtension(const CString& path) {
    const int dot = ExtensionStart(path);
    return dot < 0 ? CString() : path.Mid(dot);
}

CString SetExtension(const CString& path, const CString& ext) {
    if (FileNameStart(path) == path.GetLength()) return path;
    const int dot = ExtensionStart(path);
    CString out = dot < 0 ? path : path.Left(dot);
    const CString bare = WithoutDot(ext);
    if (!bare.IsEmpty()) {
        out += XCHAR('.');
        out += bare;
    }
    return out;
}

bool HasExtension(const CString& path, const CString& ext) {
    return WithoutDot(GetExtension(path)).CompareNoCase(WithoutDot(ext)) == 0;
}

}  // namespace OvxUtils::SystemIO::Path
