// EnumTextTable: the fixed pairs of value and text behind the text form of one enumeration.
#pragma once

#include "OvxComponent/platform/cstring.h"

#include <initializer_list>
#include <optional>
#include <utility>
#include <vector>

namespace OvxComponent {

// Rows keep their order. A value that is in no row prints as the first row's text, so a
// table has at least one row. Each enumeration builds its table once, on first use, and
// never destroys it, so that code running while the process shuts down can still use it.
template <class E>
class EnumTextTable {
public:
    struct Row {
        E value;
        const char16_t* text;
    };

    EnumTextTable(std::initializer_list<Row> rows) {
        m_rows.reserve(rows.size());
        for (const Row& row : rows) m_rows.emplace_back(row.value, CString(row.text));
    }

    const CString& ToString(E value) const {
        for (const auto& [rowValue, text] : m_rows) {
            if (rowValue == value) return text;
        }
        return m_rows.front().second;
    }

    // Whole text, case-sensitive; no value when no row has exactly this text.
    std::optional<E> FromString(const CString& text) const {
        for (const auto& [value, rowText] : m_rows) {
            if (rowText == text) return value;
        }
        return std::nullopt;
    }

private:
    std::vector<std::pair<E, CString>> m_rows;
};

}  // namespace OvxComponent
