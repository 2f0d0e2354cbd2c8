// ArgumentParser: reading the command lines of the ovxext commands.
#include "argument_parser.h"

namespace Ovxext {

void ArgumentParser::AddFlag(const std::string& name) { m_flags.insert(name); }

void ArgumentParser::AddOption(const std::string& name, bool repeatable) { m_options[name] = repeatable; }

void ArgumentParser::AddAlias(const std::string& alias, const std::string& name) { m_aliases[alias] = name; }

std::string ArgumentParser::Resolve(const std::string& name) const {
    const auto alias = m_aliases.find(name);
    return alias == m_aliases.end() ? name : alias->second;
}

bool ArgumentParser::Parse(const std::vector<std::string>& args) {
    bool optionsEnded = false;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (optionsEnded || arg.size() < 2 || arg[0] != '-') {
            m_positional.push_back(arg);
            continue;
        }
        if (arg == "--") {
            optionsEnded = true;
            continue;
        }
        std::string name = arg;
        std::optional<std::string> inlineValue;
        if (const auto equals = arg.find('='); arg.rfind("--", 0) == 0 && equals != std::string::npos) {
            name = arg.substr(0, equals);
            inlineValue = arg.substr(equals + 1);
        }
        name = Resolve(name);
        if (m_flags.count(name) != 0) {
            if (inlineValue) {
                m_error = "option " + name + " takes no value";
                return false;
            }
            m_seenFlags.insert(name);
            continue;
        }
        const auto option = m_options.find(name);
        if (option == m_options.end()) {
            m_error = "unknown option " + arg;
            return false;
        }
        if (!inlineValue) {
            if (i + 1 >= args.size()) {
                m_error = "option " + name + " needs a value";
                return false;
            }
            inlineValue = args[++i];
        }
        auto& values = m_values[name];
        if (!option->second && !values.empty()) {
            m_error = "option " + name + " given twice";
            return false;
        }
        values.push_back(*inlineValue);
    }
    return true;
}

bool ArgumentParser::Has(const std::string& name) const {
    return m_seenFlags.count(name) != 0 || m_values.count(name) != 0;
}

std::optional<std::string> ArgumentParser::Value(const std::string& name) const {
    const auto found = m_values.find(name);
    if (found == m_values.end() || found->second.empty()) return std::nullopt;
    return found->second.back();
}

std::vector<std::string> ArgumentParser::Values(const std::string& name) const {
    const auto found = m_values.find(name);
    return found == m_values.end() ? std::vector<std::string>() : found->second;
}

}  // namespace Ovxext
