// MultiLanguageString: its string form, parsing and joining.
#include "OvxComponent/platform/multi_language_string.h"

#include <algorithm>

namespace {

using XCHAR = CString::XCHAR;

void AppendEscaped(CString& out, const CString& text, bool escapeEquals) {
    for (XCHAR c : text.View()) {
        if (c == u'\\' || c == u'|' || (escapeEquals && c == u'=')) out += u'\\';
        out += c;
    }
}

// One '|'-separated part of the text form, unescaped, with the position of its first
// unescaped '=' (or -1).
struct Part {
    CString text;
    int equals = -1;
};

std::vector<Part> SplitParts(CString::ViewType text) {
    std::vector<Part> parts(1);
    for (std::size_t i = 0; i < text.size(); ++i) {
        const XCHAR c = text[i];
        Part& part = parts.back();
        if (c == u'\\' && i + 1 < text.size() &&
            (text[i + 1] == u'\\' || text[i + 1] == u'|' || text[i + 1] == u'=')) {
            part.text += text[++i];
        } else if (c == u'|') {
            parts.emplace_back();
        } else {
            if (c == u'=' && part.equals < 0) part.equals = part.text.GetLength();
            part.text += c;
        }
    }
    return parts;
}

std::vector<CString> SplitText(const CString& text, const CString& separator) {
    std::vector<CString> pieces;
    if (separator.IsEmpty()) {
        pieces.push_back(text);
        return pieces;
    }
    int start = 0;
    while (true) {
        const int at = text.Find(separator, start);
        if (at < 0) {
            pieces.push_back(text.Mid(start));
            return pieces;
        }
        pieces.push_back(text.Mid(start, at - start));
        start = at + separator.GetLength();
    }
}

}  // namespace

std::optional<CString> MultiLanguageString::Get(const CString& language) const {
    const auto it = m_variants.find(language);
    if (it == m_variants.end()) return std::nullopt;
    return it->second;
}

const CString& MultiLanguageString::GetBest(const CString& language) const {
    const auto it = m_variants.find(language);
    return it == m_variants.end() ? m_default : it->second;
}

void MultiLanguageString::Set(const CString& language, CString text) {
    if (language.IsEmpty())
        m_default = std::move(text);
    else
        m_variants[language] = std::move(text);
}

CString MultiLanguageString::ToString() const {
    CString out;
    AppendEscaped(out, m_default, false);
    for (const auto& [language, text] : m_variants) {
        out += u'|';
        AppendEscaped(out, language, true);
        out += u'=';
        AppendEscaped(out, text, false);
    }
    return out;
}

MultiLanguageString MultiLanguageString::FromString(const CString& text) {
    MultiLanguageString out;
    CString* last = &out.m_default;
    const std::vector<Part> parts = SplitParts(text.View());
    out.m_default = parts.front().text;
    for (std::size_t i = 1; i < parts.size(); ++i) {
        const Part& part = parts[i];
        if (part.equals > 0) {
            CString& slot = out.m_variants[part.text.Left(part.equals)];
            slot = part.text.Mid(part.equals + 1);
            last = &slot;
        } else {
            *last += u'|';
            *last += part.text;
        }
    }
    return out;
}

MultiLanguageString join(const std::vector<MultiLanguageString>& items, const CString& separator) {
    MultiLanguageString out;
    std::vector<CString> languages;
    for (const auto& item : items)
        for (const auto& entry : item.GetVariants()) languages.push_back(entry.first);
    std::sort(languages.begin(), languages.end());
    languages.erase(std::unique(languages.begin(), languages.end()), languages.end());

    const auto joined = [&](const CString& language) {
        CString text;
        for (std::size_t i = 0; i < items.size(); ++i) {
            if (i > 0) text += separator;
            text += language.IsEmpty() ? items[i].GetDefault() : items[i].GetBest(language);
        }
        return text;
    };
    out.SetDefault(joined(CString()));
    for (const auto& language : languages) out.Set(language, joined(language));
    return out;
}

std::vector<MultiLanguageString> split(const MultiLanguageString& value, const CString& separator) {
    std::vector<MultiLanguageString> items;
    if (value.IsEmpty()) return items;
    for (const CString& piece : SplitText(value.GetDefault(), separator)) items.emplace_back(piece);
    for (const auto& [language, text] : value.GetVariants()) {
        const std::vector<CString> pieces = SplitText(text, separator);
        if (pieces.size() > items.size()) items.resize(pieces.size());
        for (std::size_t i = 0; i < pieces.size(); ++i) items[i].Set(language, pieces[i]);
    }
    return items;
}
