#include "host/extension/EntryDrawer.hpp"

#include "platform/JSON/JSONSerialization.hpp"

namespace host {

std::string drawnEntry(const boost::json::object& request) {
    static const auto draw = reinterpret_cast<decltype(&velaDrawEntry)>(
        platform::moduleFunction("vela-drawing.so", "velaDrawEntry"));
    const auto text = platform::JSONSerialization::dataWithJSONObject(request);
    return platform::moduleResult(draw, text.data(), text.size());
}

}  // namespace host
