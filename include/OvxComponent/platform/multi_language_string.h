/// \file
/// MultiLanguageString: a default text with optional variants per language.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/platform/cstring.h"

#include <map>
#include <optional>
#include <vector>

/// A text with language variants: a default text, and texts by language code.
class OVX_API MultiLanguageString {
public:
    using Variants = std::map<CString, CString>;  ///< language tag -> text

    MultiLanguageString() = default;
    /// A text of only the default.
    /// \param defaultText The default text.
    MultiLanguageString(CString defaultText) : m_default(std::move(defaultText)) {}  // NOLINT

    /// The default text.
    /// \return The default text.
    const CString& GetDefault() const { return m_default; }
    /// Replaces the default text.
    /// \param text The default text.
    void SetDefault(CString text) { m_default = std::move(text); }

    /// The text for one language tag (exact match), if there is one.
    /// \param language The language tag.
    /// \return The variant, or nothing.
    std::optional<CString> Get(const CString& language) const;
    /// The text for language, or the default text when there is none.
    /// \param language The language tag.
    /// \return The variant, or the default text.
    const CString& GetBest(const CString& language) const;
    /// Sets the variant of one language; an empty tag sets the default text.
    /// \param language The language tag; empty for the default text.
    /// \param text The text.
    void Set(const CString& language, CString text);
    /// The texts by language code.
    /// \return The variants, by language tag.
    const Variants& GetVariants() const { return m_variants; }

    /// Whether the default and every variant are empty.
    /// \return Whether nothing is set.
    bool IsEmpty() const { return m_default.IsEmpty() && m_variants.empty(); }

    /// Text form: the default text, then "|tag=text" per variant in tag order, with '\',
    /// '|' (and '=' in tags) escaped by a backslash. A string without variants is its
    /// default text with only those escapes, so plain titles read naturally.
    /// \return The text form.
    CString ToString() const;
    /// Inverse of ToString for any content. Text from elsewhere is read leniently: a '|'
    /// that does not start a "tag=text" part is kept as literal text, as is a backslash
    /// that escapes nothing.
    /// \param text The text form.
    /// \return The text with its variants.
    static MultiLanguageString FromString(const CString& text);

    /// Equal when the default and every variant are.
    friend bool operator==(const MultiLanguageString&, const MultiLanguageString&) = default;

private:
    CString m_default;
    Variants m_variants;
};

/// Joins the items with separator, language by language: the result's default is the
/// items' defaults joined, and for every language that any item has, the items' best
/// texts for it joined.
/// \param items The texts to join.
/// \param separator Put between two items.
/// \return The joined text.
OVX_API MultiLanguageString join(const std::vector<MultiLanguageString>& items, const CString& separator);

/// Splits the default text and every variant at separator. Item i takes the i-th piece of
/// each; a language with fewer pieces leaves the later items without that variant. An
/// empty value gives no items.
/// \param value The text to split.
/// \param separator Where to split.
/// \return The items.
OVX_API std::vector<MultiLanguageString> split(const MultiLanguageString& value, const CString& separator);
