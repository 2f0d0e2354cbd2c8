/// \file
/// Metadata::Container: the typed properties of one container (title, identities, ...).
///
/// A plain value: the ZIP container keeps one, reads it when a package is opened and
/// writes it as the metadata entry when the package is saved; subtypes fill it in
/// SubtypeInfo::Serialize and read it in Deserialize. Setters never touch the disk.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/container/metadata_property.h"
#include "OvxComponent/container/result.h"
#include "OvxComponent/platform/any.h"
#include "OvxComponent/platform/cstring.h"
#include "OvxComponent/platform/optional.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace VdcContainer::Metadata {

/// The container metadata: typed properties, read from and written to the package's
/// metadata entry.
class OVX_API Container {
public:
    /// Sets a property of kind string.
    /// \param def The property.
    /// \param value Its value.
    void SetStringMetadata(const Property::Def& def, const CString& value);
    /// The value of a string property; no value when the property is missing or holds
    /// another kind.
    /// \param def The property.
    /// \return Its value, or nothing.
    OvxUtils::optional<CString> GetStringMetadata(const Property::Def& def) const;

    /// Sets a property of any kind. False, with nothing changed, when value is empty or
    /// holds a type that is none of the kinds (Property::Kind).
    /// \param def The property.
    /// \param value Its value.
    /// \return Whether the property was set.
    bool SetMetadata(const Property::Def& def, OvxUtils::Any value);
    /// The value, or an empty Any when the property is missing. The reference (and what
    /// Get<T>() returns from it) stays valid until the property is changed.
    /// \param def The property.
    /// \return Its value, or an empty Any.
    const OvxUtils::Any& GetMetadata(const Property::Def& def) const;

    /// Whether the property is set.
    /// \param def The property.
    /// \return Whether it is set.
    bool HasMetadata(const Property::Def& def) const;
    /// Removes the property.
    /// \param def The property.
    void RemoveMetadata(const Property::Def& def);
    /// Every property, ordered by namespace URI and name.
    /// \return The properties and their values.
    const std::map<Property::Def, OvxUtils::Any>& GetAll() const { return m_properties; }

    /// The metadata entry's XML. Reading refuses a property whose value does not fit its
    /// kind, and skips properties of kinds it does not know.
    /// \return The XML, in UTF-8.
    std::string ToXml() const;
    /// Reads the metadata from its XML, refusing more than maxSize bytes.
    /// \param bytes The XML.
    /// \param maxSize The most bytes accepted.
    /// \return The metadata, or why it was refused.
    static Result<Container> FromXml(std::string_view bytes, std::uint64_t maxSize);

    /// Equal when every property is.
    friend bool operator==(const Container&, const Container&) = default;

private:
    std::map<Property::Def, OvxUtils::Any> m_properties;
};

}  // namespace VdcContainer::Metadata
