// SPDX-License-Identifier: Apache-2.0

#pragma once

// Text set in Inter, and in the fonts of ScriptFonts.hpp where it lacks a script. Fonts are found when
// the first text is measured. What has been set is remembered, so that a painter does not set it again. Not
// safe from several threads at once.

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "drawing/Layout/TextMeasurer.hpp"

typedef struct _PangoLayout PangoLayout;

namespace drawing {

class PangoTextMeasurer final : public TextMeasurer {
  public:
    /// `fontsConfiguration` is a fontconfig file; where there is none, the system's own is used. A process
    /// has one configuration: that of the first measurer that is used. `preferredLanguages` are the person's,
    /// as language tags: they decide where a text does not say in which of several it is.
    explicit PangoTextMeasurer(std::filesystem::path fontsConfiguration,
                               std::vector<std::string> preferredLanguages = {});
    ~PangoTextMeasurer() override;

    std::vector<TextLine> lines(const TextRun& run, std::optional<double> width) const override;

    const std::vector<std::string>& preferredLanguages() const { return preferredLanguages_; }

    /// For painters: a layout whose lines are those of `lines`, at the design's text size: it is to be
    /// enlarged by the factor of the run's.
    PangoLayout* typeset(const TextRun& run, std::optional<double> width) const;

  private:
    class Typesetter;
    Typesetter& typesetter() const;

    std::filesystem::path fontsConfiguration_;
    std::vector<std::string> preferredLanguages_;
    mutable std::unique_ptr<Typesetter> typesetter_;
};

}  // namespace drawing
