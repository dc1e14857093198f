// SPDX-License-Identifier: Apache-2.0

#include "platform/CommandLine/Description.hpp"

#include <CLI/CLI.hpp>
#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>
#include <string_view>
#include <vector>

namespace platform {
namespace {

namespace json = boost::json;

/// The value's name, and behind a colon the forms it may have: "TEXT:{light,dark}" and "ENUM:loop|once".
struct ValueForm {
    std::string name;
    std::vector<std::string> choices = {};
};

ValueForm valueForm(const CLI::Option& option) {
    const auto text = option.get_type_name();
    const auto colon = text.find(':');
    ValueForm form = {.name = text.substr(0, colon)};
    if (colon == std::string::npos) return form;
    auto forms = text.substr(colon + 1);
    if (forms.starts_with('{') && forms.ends_with('}'))
        form.choices = CLI::detail::split(forms.substr(1, forms.size() - 2), ',');
    else if (form.name == "ENUM")
        form.choices = CLI::detail::split(forms, '|');
    else if (form.name == "TEXT" && !forms.empty() && forms.find(' ') == std::string::npos)
        form.name = forms;
    return form;
}

json::array array(const std::vector<std::string>& texts) {
    return json::array(texts.begin(), texts.end());
}

json::object described(const CLI::Option& option) {
    std::vector<std::string> names;
    for (const auto& name : option.get_snames()) names.push_back("-" + name);
    for (const auto& name : option.get_lnames()) names.push_back("--" + name);
    json::object object = {{"names", array(names)},
                           {"description", option.get_description()},
                           {"group", option.get_group()},
                           {"default", option.get_default_str()},
                           {"isRequired", option.get_required()},
                           {"isRepeated", option.get_expected_max() > 1},
                           {"value", nullptr},
                           {"choices", json::array()}};
    if (!option.get_positional()) {
        object["place"] = nullptr;
    } else {
        object["place"] = option.get_name(true, false);
    }
    if (option.get_items_expected_max() > 0) {
        const auto form = valueForm(option);
        object["value"] = form.name;
        object["choices"] = array(form.choices);
    }
    return object;
}

json::object described(const CLI::App& command) {
    json::array options;
    // A group without a name is not to be seen.
    for (const auto* option : command.get_options())
        if (!option->get_group().empty()) options.push_back(described(*option));
    json::array commands;
    for (const auto* subcommand : command.get_subcommands({}))
        if (!subcommand->get_group().empty()) commands.push_back(described(*subcommand));
    return {{"name", command.get_name()},
            {"description", command.get_description()},
            {"footer", command.get_footer()},
            {"options", std::move(options)},
            {"commands", std::move(commands)}};
}

}  // namespace

std::string describedCommandLine(const CLI::App& app) {
    return json::serialize(described(app));
}

}  // namespace platform
