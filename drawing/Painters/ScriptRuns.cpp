// SPDX-License-Identifier: Apache-2.0

#include "drawing/Painters/ScriptRuns.hpp"

#include <fontconfig/fontconfig.h>
#include <pango/pango.h>

#include <algorithm>
#include <array>
#include <initializer_list>
#include <map>
#include <memory>

#include "platform/Text/ASCII.hpp"

namespace drawing {
namespace {

struct ReleasesIterator {
    void operator()(PangoScriptIter* iterator) const { pango_script_iter_free(iterator); }
};

std::string isoName(GUnicodeScript script) {
    const guint32 code = g_unicode_script_to_iso15924(script);
    std::string name;
    for (const int shift : {24, 16, 8, 0}) name += static_cast<char>(code >> shift & 0xFF);
    return name;
}

template <class Predicate>
bool anyCharacter(std::string_view text, Predicate predicate) {
    for (const char* next = text.data(); next < text.data() + text.size();
         next += g_utf8_skip[static_cast<unsigned char>(*next)]) {
        if (predicate(g_utf8_get_char(next))) return true;
    }
    return false;
}

bool holds(std::string_view text, std::initializer_list<GUnicodeScript> scripts) {
    return anyCharacter(text, [&](gunichar character) {
        return std::find(scripts.begin(), scripts.end(), g_unichar_get_script(character)) != scripts.end();
    });
}

/// Whether the language has all of the text's Chinese characters.
bool isInHan(std::string_view text, const char* language) {
    const FcCharSet* characters = FcLangGetCharSet(reinterpret_cast<const FcChar8*>(language));
    return characters && !anyCharacter(text, [&](gunichar character) {
               return g_unichar_get_script(character) == G_UNICODE_SCRIPT_HAN &&
                      !FcCharSetHasChar(characters, character);
           });
}

/// By the letters that Arabic does not have.
std::string arabicScriptLanguage(std::string_view text) {
    const auto holdsAny = [&](std::u32string_view letters) {
        return anyCharacter(text,
                            [&](gunichar character) { return letters.find(character) != letters.npos; });
    };
    if (holdsAny(U"ٹڈڑںھہے")) return "ur";
    return holdsAny(U"پچژکگی") ? "fa" : "ar";
}

std::string chineseScriptLanguage(std::string_view text) {
    if (holds(text, {G_UNICODE_SCRIPT_BOPOMOFO})) return "zh-tw";
    constexpr std::array languages = {"zh-cn", "zh-tw", "ja"};
    const auto found = std::find_if(languages.begin(), languages.end(),
                                    [&](const char* language) { return isInHan(text, language); });
    return found == languages.end() ? languages.front() : *found;
}

std::string eastAsianScript(std::string_view language) {
    if (language == "ja") return "Jpan";
    if (language.starts_with("ko")) return "Kore";
    return language == "zh-cn" ? "Hans" : "Hant";
}

struct Tag {
    std::string language;
    std::string script = {};
    std::string region = {};
};

Tag parsed(std::string_view tag) {
    Tag parsed;
    for (std::size_t index = 0; !tag.empty(); ++index) {
        const std::string part = platform::lowercasedASCII(tag.substr(0, tag.find('-')));
        tag.remove_prefix(std::min(tag.size(), part.size() + 1));
        if (index == 0) {
            parsed.language = part;
        } else if (part.size() == 4) {
            parsed.script = part;
        } else if (part.size() == 2) {
            parsed.region = part;
        }
    }
    return parsed;
}

/// As fontconfig names it.
std::string languageName(const Tag& tag) {
    if (tag.language == "zh" || tag.language == "yue" || tag.language == "cmn") {
        if (tag.script == "hans") return "zh-cn";
        if (tag.region == "hk" || tag.region == "mo" || tag.language == "yue") return "zh-hk";
        return tag.region == "tw" || tag.script == "hant" ? "zh-tw" : "zh-cn";
    }
    if (tag.language == "ja" || tag.language == "ko") return tag.language;
    if (tag.language == "iw") return "he";
    if (tag.language == "ji") return "yi";
    if (tag.language == "ckb") return "ku-iq";
    return tag.region.empty() ? tag.language : tag.language + "-" + tag.region;
}

std::vector<int> scriptsOf(const Tag& tag, const std::string& name) {
    if (tag.language == "ko") return {G_UNICODE_SCRIPT_HANGUL, G_UNICODE_SCRIPT_HAN};
    if (name.starts_with("zh-")) return {G_UNICODE_SCRIPT_HAN, G_UNICODE_SCRIPT_BOPOMOFO};
    if (tag.script.size() == 4) {
        guint32 code = static_cast<guint32>(g_ascii_toupper(tag.script.front()));
        for (const char letter : tag.script.substr(1)) code = code << 8 | static_cast<unsigned char>(letter);
        return {g_unicode_script_from_iso15924(code)};
    }
    if (tag.language == "ps") return {G_UNICODE_SCRIPT_ARABIC};
    int count = 0;
    const PangoScript* scripts = pango_language_get_scripts(pango_language_from_string(name.c_str()), &count);
    return {scripts, scripts + count};
}

}  // namespace

ScriptRuns::ScriptRuns(const std::vector<std::string>& preferredLanguages) {
    for (const std::string& language : preferredLanguages) {
        const Tag tag = parsed(language);
        const std::string name = languageName(tag);
        preferred_.push_back({name, scriptsOf(tag, name)});
    }
}

std::vector<ScriptRun> ScriptRuns::of(std::string_view text) const {
    std::vector<ScriptRun> runs;
    if (text.empty()) return runs;
    // A script has one language in the whole of a text, which is looked through for that.
    std::map<int, std::string> languages;
    const auto languageOf = [&](int script) {
        const auto known = languages.find(script);
        return known != languages.end() ? known->second : languages[script] = language(script, text);
    };
    const std::unique_ptr<PangoScriptIter, ReleasesIterator> iterator(
        pango_script_iter_new(text.data(), static_cast<int>(text.size())));
    do {
        const char* begin = nullptr;
        const char* end = nullptr;
        PangoScript found = PANGO_SCRIPT_COMMON;
        pango_script_iter_get_range(iterator.get(), &begin, &end, &found);
        const bool isCommon = found == PANGO_SCRIPT_COMMON || found == PANGO_SCRIPT_INHERITED;
        const auto script = isCommon ? G_UNICODE_SCRIPT_LATIN : static_cast<GUnicodeScript>(found);
        ScriptRun run = {static_cast<std::size_t>(begin - text.data()),
                         static_cast<std::size_t>(end - text.data()), isoName(script), languageOf(script)};
        if (script == G_UNICODE_SCRIPT_HAN || script == G_UNICODE_SCRIPT_BOPOMOFO ||
            script == G_UNICODE_SCRIPT_HIRAGANA || script == G_UNICODE_SCRIPT_KATAKANA ||
            script == G_UNICODE_SCRIPT_HANGUL) {
            run.script = eastAsianScript(run.language);
        }
        if (!runs.empty() && runs.back().script == run.script && runs.back().language == run.language) {
            runs.back().end = run.end;
        } else {
            runs.push_back(std::move(run));
        }
    } while (pango_script_iter_next(iterator.get()));
    return runs;
}

std::string ScriptRuns::language(int script, std::string_view text) const {
    if (script == G_UNICODE_SCRIPT_HIRAGANA || script == G_UNICODE_SCRIPT_KATAKANA) return "ja";
    if (script == G_UNICODE_SCRIPT_HANGUL) return "ko";
    if (script == G_UNICODE_SCRIPT_HAN) {
        if (holds(text, {G_UNICODE_SCRIPT_HIRAGANA, G_UNICODE_SCRIPT_KATAKANA})) return "ja";
        if (holds(text, {G_UNICODE_SCRIPT_HANGUL})) return "ko";
    }
    for (const Language& language : preferred_) {
        if (std::find(language.scripts.begin(), language.scripts.end(), script) != language.scripts.end())
            return language.name;
    }
    switch (script) {
        case G_UNICODE_SCRIPT_BOPOMOFO: return "zh-tw";
        case G_UNICODE_SCRIPT_HAN: return chineseScriptLanguage(text);
        case G_UNICODE_SCRIPT_ARABIC: return arabicScriptLanguage(text);
    }
    PangoLanguage* usual = pango_script_get_sample_language(static_cast<PangoScript>(script));
    return usual ? pango_language_to_string(usual) : "und";
}

}  // namespace drawing
