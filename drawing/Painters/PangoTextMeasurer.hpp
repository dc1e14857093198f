// SPDX-License-Identifier: Apache-2.0

#pragma once

// Text set in Inter, with the system's fonts standing in for the scripts that it lacks. Fonts are found when
// the first text is measured. What has been set is remembered, so that a painter does not set it again. Not
// safe from several threads at once.

#include <filesystem>
#include <memory>

#include "drawing/Layout/TextMeasurer.hpp"

typedef struct _PangoLayout PangoLayout;

namespace drawing {

class PangoTextMeasurer final : public TextMeasurer {
  public:
    /// `fontsConfiguration` is a fontconfig file; where there is none, the system's own is used. A process
    /// has one configuration: that of the first measurer that is used.
    explicit PangoTextMeasurer(std::filesystem::path fontsConfiguration);
    ~PangoTextMeasurer() override;

    std::vector<TextLine> lines(const TextRun& run, std::optional<double> width) const override;

    /// For painters: a layout whose lines are those of `lines`, at the design's text size: it is to be
    /// enlarged by the factor of the run's.
    PangoLayout* typeset(const TextRun& run, std::optional<double> width) const;

  private:
    class Typesetter;
    Typesetter& typesetter() const;

    std::filesystem::path fontsConfiguration_;
    mutable std::unique_ptr<Typesetter> typesetter_;
};

}  // namespace drawing
