// ArgumentParser: the command lines of the ovxext commands: positional arguments, flags,
// options with one value ("--title T" or "--title=T"), and repeatable options.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Ovxext {

class ArgumentParser {
public:
    // Declares a flag (no value) or an option taking a value; repeatable options collect
    // every value in order, others keep the last. Names are given with their dashes.
    void AddFlag(const std::string& name);
    void AddOption(const std::string& name, bool repeatable = false);
    // An alias such as "-o" for "--output".
    void AddAlias(const std::string& alias, const std::string& name);

    // Reads args. False, with Error() set, for an unknown option, a missing value, a
    // repeated single option, or a value given to a flag. "--" ends the options.
    bool Parse(const std::vector<std::string>& args);

    const std::string& Error() const { return m_error; }
    const std::vector<std::string>& Positional() const { return m_positional; }
    bool Has(const std::string& name) const;
    std::optional<std::string> Value(const std::string& name) const;
    std::vector<std::string> Values(const std::string& name) const;

private:
    std::string Resolve(const std::string& name) const;

    std::set<std::string> m_flags;
    std::map<std::string, bool> m_options;  // name -> repeatable
    std::map<std::string, std::string> m_aliases;
    std::map<std::string, std::vector<std::string>> m_values;
    std::set<std::string> m_seenFlags;
    std::vector<std::string> m_positional;
    std::string m_error;
};

}  // namespace Ovxext
