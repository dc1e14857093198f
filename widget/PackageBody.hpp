// SPDX-License-Identifier: Apache-2.0

#pragma once

// The parts of a package that layouts share.

#include <functional>
#include <string>
#include <vector>

#include "drawing/Views/View.hpp"
#include "presentation/Package.hpp"
#include "widget/ViewEnvironment.hpp"
#include "widget/WidgetImageSize.hpp"

namespace widget {

/// The part of its size down to which a line is set to show it whole: "Customs payment due" stands on one
/// line of the small widget then.
inline constexpr double tightest = 0.76;

/// How the status lines may be set: into how many lines each may break, down to which part of its size, and
/// whether an arrangement is passed over in which one of them would be cut.
struct StatusSetting {
    enum class Cut { never, allowed };

    int primaryLines;
    int secondaryLines;
    double leastScale = tightest;
    Cut cut = Cut::never;
};

/// From the one that reads best on: at their full size as long as they fit, smaller then, cut at last.
std::vector<StatusSetting> statusSettings(const presentation::StatusPair& status);
/// Those of them that may cut, or that may not.
std::vector<StatusSetting> statusSettings(const presentation::StatusPair& status, StatusSetting::Cut cut);

/// The first of the settings with which the arrangement fits.
drawing::View statusThatFits(const std::vector<StatusSetting>& settings,
                             const std::function<drawing::View(const StatusSetting&)>& arrangement);

/// A status line as its setting has it.
drawing::View fitted(const drawing::View& text, int lines, const StatusSetting& setting);
/// The lines of a status, each alone; the second is nothing where there is none.
drawing::View primaryLine(const presentation::StatusPair& status, const StatusSetting& setting);
drawing::View secondaryLine(const presentation::StatusPair& status, const StatusSetting& setting);
/// Both, with a little room above each.
drawing::View statusLines(const presentation::Package& package, const StatusSetting& setting);

/// The pictures with the name and the status lines between them; `besideName` stands at the other end of the
/// name's line.
drawing::View packageRow(const presentation::Package& package, const ViewEnvironment& environment,
                         const StatusSetting& setting, const drawing::View& besideName = drawing::View());
/// The merchant at the top with something in the corner, the status with the product at the bottom, over the
/// progress; as high as there is room.
drawing::View mediumBody(const presentation::Package& package, const ViewEnvironment& environment,
                         WidgetImageSize size, const StatusSetting& setting,
                         const drawing::View& corner = drawing::View());
/// Small and quiet, on one line.
drawing::View footnote(const std::string& words);

/// Whether the merchant has a picture that can be shown, and not the first letter of its name alone.
bool showsShopPicture(const presentation::Package& package, WidgetImageSize size,
                      const ViewEnvironment& environment);
/// The merchant's picture. Like that of the product, it is on a plate where it would vanish on the ground: a
/// white one for dark strokes in the dark, a dark one for light strokes in the light.
drawing::View shopPicture(const presentation::Package& package, WidgetImageSize size,
                          const ViewEnvironment& environment);
/// Nothing where the package has no picture of its product; a parcel where it cannot be shown.
drawing::View productPicture(const presentation::Package& package, WidgetImageSize size,
                             const ViewEnvironment& environment);

/// Flush with the margins: its markers, which reach out from the ends of the bar, stay within. A gap parts
/// what is done from what is left: both read well on the ground (3:1), as they could not on each other.
drawing::View progressBar(const presentation::Package& package, const ViewEnvironment& environment);
drawing::View progressBar(const presentation::Package& package, const ViewEnvironment& environment,
                          double height, const drawing::Color& color);

}  // namespace widget
