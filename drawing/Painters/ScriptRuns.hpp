// SPDX-License-Identifier: Apache-2.0

#pragma once

// In which script and language each part of a text is written. Which shapes a character has depends on it:
// one code stands for a Chinese and for a Japanese form. Safe from any thread.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace drawing {

/// `begin` and `end` are bytes of the text.
struct ScriptRun {
    std::size_t begin;
    std::size_t end;
    /// As ISO 15924 has it; Jpan, Kore, Hans or Hant in East Asia, Latn where no letter says.
    std::string script;
    /// As fontconfig has it: "ta", "zh-tw".
    std::string language;
    bool operator==(const ScriptRun&) const = default;
};

class ScriptRuns {
  public:
    /// `preferredLanguages` are language tags (RFC 5646), the person's first one first.
    explicit ScriptRuns(const std::vector<std::string>& preferredLanguages);

    /// The whole of a text, which is UTF-8, in its order. A run's language is the one that its letters tell
    /// (kana are Japanese), else the person's first that is written so, else the script's first that has all
    /// of these letters.
    std::vector<ScriptRun> of(std::string_view text) const;

  private:
    struct Language {
        std::string name;
        std::vector<int> scripts;
    };

    std::string language(int script, std::string_view text) const;

    std::vector<Language> preferred_;
};

}  // namespace drawing
