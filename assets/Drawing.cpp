// SPDX-License-Identifier: Apache-2.0

#include "assets/Drawing.hpp"

#include <cairo.h>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <map>
#include <memory>
#include <stdexcept>

#include "platform/Text/ASCII.hpp"

namespace assets {

namespace {

using platform::trimmed;

[[noreturn]] void refuse(const std::string& reason) {
    throw std::invalid_argument(reason);
}

struct Tag {
    std::string_view name;  // "/svg" for an end tag
    std::map<std::string_view, std::string_view> attributes;

    std::string_view at(std::string_view attribute) const {
        const auto found = attributes.find(attribute);
        if (found == attributes.end()) refuse(std::string(name) + " has no " + std::string(attribute));
        return found->second;
    }
};

constexpr std::string_view spaces = " \t\r\n";

Tag tagFrom(std::string_view text) {
    text = trimmed(text.substr(0, text.size() - text.ends_with('/')));
    const auto nameEnd = std::min(text.size(), text.find_first_of(spaces));
    Tag tag{text.substr(0, nameEnd), {}};
    for (text = trimmed(text.substr(nameEnd)); !text.empty(); text = trimmed(text)) {
        const auto equals = text.find("=\"");
        const auto end = equals == text.npos ? text.npos : text.find('"', equals + 2);
        if (end == text.npos) refuse("an attribute without a value in " + std::string(tag.name));
        tag.attributes[text.substr(0, equals)] = text.substr(equals + 2, end - equals - 2);
        text.remove_prefix(end + 1);
    }
    return tag;
}

std::vector<Tag> tagsOf(std::string_view svg) {
    std::vector<Tag> tags;
    for (auto begin = svg.find('<'); begin != svg.npos; begin = svg.find('<', begin + 1)) {
        const auto end = svg.find('>', begin);
        if (end == svg.npos) refuse("a tag that does not end");
        tags.push_back(tagFrom(svg.substr(begin + 1, end - begin - 1)));
    }
    return tags;
}

/// Numbers and command letters, one after another.
class Scanner {
  public:
    explicit Scanner(std::string_view text) : rest_(text) {}

    bool isAtEnd() {
        rest_.remove_prefix(std::min(rest_.size(), rest_.find_first_not_of(" \t\r\n,")));
        return rest_.empty();
    }
    bool isAtNumber() { return !isAtEnd() && std::string_view("0123456789.-").find(rest_[0]) != rest_.npos; }
    char letter() {
        if (isAtEnd()) refuse("a path that breaks off");
        const char letter = rest_[0];
        rest_.remove_prefix(1);
        return letter;
    }
    double number() {
        double value = 0;
        const auto [end, error] = isAtEnd()
                                      ? std::from_chars_result{nullptr, std::errc::invalid_argument}
                                      : std::from_chars(rest_.data(), rest_.data() + rest_.size(), value);
        if (error != std::errc()) refuse("a number that is none");
        rest_.remove_prefix(std::size_t(end - rest_.data()));
        return value;
    }

  private:
    std::string_view rest_;
};

double numberFrom(std::string_view text) {
    Scanner scanner(text);
    const double number = scanner.number();
    if (!scanner.isAtEnd()) refuse("more than a number: " + std::string(text));
    return number;
}

std::vector<Step> stepsFrom(std::string_view data, double scale) {
    std::vector<Step> steps;
    Scanner scanner(data);
    Point at = {};
    char command = 0;
    while (!scanner.isAtEnd()) {
        if (!scanner.isAtNumber()) {
            command = scanner.letter();
        } else if (command == 'M') {
            command = 'L';  // as SVG continues a moveto
        } else if (command == 'Z' || command == 0) {
            refuse("a number without a command");
        }
        const auto point = [&] {
            at.x = scanner.number() * scale;
            at.y = scanner.number() * scale;
            return at;
        };
        switch (command) {
            case 'M':
            case 'L': steps.push_back({command, {point()}}); break;
            case 'H':
                at.x = scanner.number() * scale;
                steps.push_back({'L', {at}});
                break;
            case 'V':
                at.y = scanner.number() * scale;
                steps.push_back({'L', {at}});
                break;
            case 'C': {
                const Point first = point(), second = point(), end = point();
                steps.push_back({'C', {first, second, end}});
                break;
            }
            case 'Z': steps.push_back({'Z', {}}); break;
            default: refuse(std::string("the path command ") + command);
        }
    }
    if (steps.empty() || steps.front().command != 'M') refuse("a path that does not begin with M");
    return steps;
}

std::string fillOf(const Tag& path) {
    std::string fill(path.at("fill"));
    if (fill.size() != 7 || fill[0] != '#' ||
        fill.find_first_not_of("0123456789abcdefABCDEF", 1) != fill.npos)
        refuse("a fill that is not #RRGGBB: " + fill);
    const double opacity = path.attributes.count("fill-opacity") ? numberFrom(path.at("fill-opacity")) : 1;
    if (!(opacity >= 0 && opacity <= 1)) refuse("an opacity beyond 0 to 1");
    char alpha[3];
    std::snprintf(alpha, sizeof alpha, "%02X", unsigned(std::lround(opacity * 255)));
    return fill + alpha;
}

double channel(const std::string& fill, int index) {
    return std::stoi(fill.substr(std::size_t(1 + 2 * index), 2), nullptr, 16) / 255.0;
}

struct Destroys {
    void operator()(cairo_t* context) const { cairo_destroy(context); }
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};

}  // namespace

Drawing drawingFrom(std::string_view svg) {
    Drawing drawing = {};
    double scale = 0;
    for (const Tag& tag : tagsOf(svg)) {
        if (tag.name == "svg" && scale == 0) {
            drawing.width = numberFrom(tag.at("width"));
            drawing.height = numberFrom(tag.at("height"));
            Scanner box(tag.at("viewBox"));
            const double left = box.number(), top = box.number(), width = box.number(), height = box.number();
            scale = drawing.width / width;
            if (left != 0 || top != 0 ||
                !(drawing.width > 0 && drawing.height > 0 && width > 0 && height > 0) ||
                std::abs(drawing.height - height * scale) > 1e-6)
                refuse("a viewBox that is not 0 0 and of the drawing's shape");
        } else if (tag.name == "path" && scale != 0) {
            drawing.paths.push_back({fillOf(tag), stepsFrom(tag.at("d"), scale)});
        } else if (tag.name != "/svg" && tag.name != "title" && tag.name != "/title") {
            refuse("the element " + std::string(tag.name));
        }
    }
    if (drawing.paths.empty()) refuse("nothing drawn");
    return drawing;
}

std::string pathData(const std::vector<Step>& steps) {
    std::string data;
    const auto append = [&](double value) {
        char digits[32];
        const double rounded = std::round(value * 1000) / 1000 + 0.0;  // no minus before a zero
        const auto end = std::to_chars(digits, digits + sizeof digits, rounded).ptr;
        data.append(digits, end);
    };
    for (const Step& step : steps) {
        data += step.command;
        for (std::size_t i = 0; i < step.points.size(); ++i) {
            if (i) data += ' ';
            append(step.points[i].x);
            data += ' ';
            append(step.points[i].y);
        }
    }
    return data;
}

drawing::Bitmap rasterised(const Drawing& drawing, drawing::PixelSize size) {
    drawing::Bitmap bitmap = drawing::Bitmap::transparent(size);
    const std::unique_ptr<cairo_surface_t, Destroys> surface(
        cairo_image_surface_create_for_data(reinterpret_cast<unsigned char*>(bitmap.pixels.data()),
                                            CAIRO_FORMAT_ARGB32, size.width, size.height, bitmap.stride()));
    const std::unique_ptr<cairo_t, Destroys> context(cairo_create(surface.get()));
    cairo_scale(context.get(), size.width / drawing.width, size.height / drawing.height);
    cairo_set_antialias(context.get(), CAIRO_ANTIALIAS_BEST);
    for (const Path& path : drawing.paths) {
        for (const auto& [command, points] : path.steps) {
            switch (command) {
                case 'M': cairo_move_to(context.get(), points[0].x, points[0].y); break;
                case 'L': cairo_line_to(context.get(), points[0].x, points[0].y); break;
                case 'C':
                    cairo_curve_to(context.get(), points[0].x, points[0].y, points[1].x, points[1].y,
                                   points[2].x, points[2].y);
                    break;
                default: cairo_close_path(context.get());
            }
        }
        cairo_set_source_rgba(context.get(), channel(path.fill, 0), channel(path.fill, 1),
                              channel(path.fill, 2), channel(path.fill, 3));
        cairo_fill(context.get());
    }
    if (cairo_status(context.get()) != CAIRO_STATUS_SUCCESS)
        throw std::runtime_error(cairo_status_to_string(cairo_status(context.get())));
    cairo_surface_flush(surface.get());
    return bitmap;
}

}  // namespace assets
