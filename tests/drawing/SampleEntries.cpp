// SPDX-License-Identifier: Apache-2.0

#include "tests/drawing/SampleEntries.hpp"

#include <stdexcept>

#include "drawing/Image/Bitmap.hpp"
#include "drawing/Writers/PNGWriter.hpp"

namespace drawing_tests {

using drawing::Bitmap;
using drawing::PixelSize;
using widget::LoggedIn;
using widget::NoPackages;
using widget::NotLoggedIn;

namespace {

constexpr const char* shop = "sample:shop";
constexpr const char* wide = "sample:wide";
constexpr const char* photo = "sample:photo";
constexpr const char* white = "sample:white";

std::uint32_t opaque(int red, int green, int blue) {
    return 0xFF000000u | static_cast<std::uint32_t>(red << 16 | green << 8 | blue);
}

/// A white ring on a warm ground.
Bitmap shopPicture() {
    Bitmap bitmap = Bitmap::transparent({192, 192});
    for (int y = 0; y < 192; ++y) {
        for (int x = 0; x < 192; ++x) {
            const int distance = (x - 96) * (x - 96) + (y - 96) * (y - 96);
            const bool isRing = distance > 40 * 40 && distance < 60 * 60;
            bitmap.row(y)[x] = isRing ? opaque(255, 255, 255) : opaque(226, 94, 62 + y / 4);
        }
    }
    return bitmap;
}

/// Dark strokes on nothing, much wider than high: a wordmark.
Bitmap widePicture() {
    Bitmap bitmap = Bitmap::transparent({200, 100});
    for (int y = 20; y < 80; ++y) {
        for (int x = 10; x < 190; ++x) {
            if (x / 15 % 2 == 0) bitmap.row(y)[x] = opaque(40, 60, 110);
        }
    }
    return bitmap;
}

/// White strokes on nothing: a mark drawn for a dark ground.
Bitmap whitePicture() {
    Bitmap bitmap = Bitmap::transparent({120, 120});
    for (int y = 10; y < 110; ++y) {
        for (int x = 10; x < 110; ++x) {
            if ((x + y) / 20 % 2 == 0) bitmap.row(y)[x] = opaque(255, 255, 255);
        }
    }
    return bitmap;
}

/// Soft hills, as a photograph might have them.
Bitmap photoPicture() {
    Bitmap bitmap = Bitmap::transparent({400, 300});
    for (int y = 0; y < 300; ++y) {
        for (int x = 0; x < 400; ++x) {
            const int hill = 150 + (x - 200) * (x - 200) / 500;
            bitmap.row(y)[x] = y < hill ? opaque(150 + y / 4, 190 + y / 8, 230) : opaque(70, 120 + y / 5, 80);
        }
    }
    return bitmap;
}

}  // namespace

std::optional<std::string> SamplePictures::read(const platform::URL& source) {
    const std::string& name = source.absoluteString();
    if (name == shop) return encodedPNG(shopPicture());
    if (name == wide) return encodedPNG(widePicture());
    if (name == white) return encodedPNG(whitePicture());
    if (name == photo) return encodedPNG(photoPicture());
    return std::nullopt;
}

platform::URL url(const std::string& text) {
    const std::optional<platform::URL> parsed = platform::URL::parse(text);
    if (!parsed) throw std::invalid_argument(text);
    return *parsed;
}

presentation::PackageList packages(std::vector<presentation::StoredPackage::Values> values) {
    presentation::PackageList list;
    for (auto& value : values) {
        list.push_back(std::make_shared<const presentation::StoredPackage>(std::move(value)));
    }
    return list;
}

widget::SimpleEntry entry(widget::WidgetState state) {
    return {platform::Date::now(), std::move(state)};
}

std::vector<SampleEntry> sampleEntries() {
    const auto shown = [](std::vector<presentation::StoredPackage::Values> values) {
        return entry(LoggedIn{packages(std::move(values))});
    };
    const platform::URL link = url("velaapp://delivery/1");
    return {
        {"Latin",
         shown({
             {"Northwind Books",
              link,
              0.6f,
              url(shop),
              url(photo),
              {"Out for delivery", "Today before 18:00"}},
             {"Harbour & Sons", link, 0.4f, url(wide), url(photo), {"In transit", "Arrives Thursday"}},
             {"Meadow Tea", link, 0.2f, std::nullopt, std::nullopt, {"Order placed", std::nullopt}},
             {"Lantern Lighting", link, 1.0f, url(shop), std::nullopt, {"Delivered yesterday", "Front door"}},
             {"Fifth", link, 0.0f, url(shop), std::nullopt, {"Unknown", std::nullopt}},
         })},
        {"Placeholder", widget::placeholderEntry(platform::Date::now(), "Shop Name")},
        {"LongWords",
         shown({
             {"The Extraordinarily Long-Named Emporium of Curiosities and Wonders",
              link,
              0.5f,
              url(wide),
              url(wide),
              {"Your parcel could not be delivered because nobody was there to take it",
               "A second attempt will be made tomorrow between eight and twelve"}},
             {"Donaudampfschifffahrtselektrizitätenhauptbetriebswerk",
              link,
              0.0f,
              std::nullopt,
              url("sample:none"),
              {"Donaudampfschifffahrtselektrizitätenhauptbetriebswerkbauunterbeamtengesellschaft",
               std::nullopt}},
             {"Third", link, 1.0f, url(photo), url(shop), {"Delivered", "Today"}},
         })},
        {"Arabic",
         shown({
             {"مكتبة الشروق الكبرى",
              link,
              0.6f,
              std::nullopt,
              url(photo),
              {"خرج للتوصيل", "اليوم قبل السادسة مساءً"}},
             {"متجر ذو اسم طويل جدا لا يتسع له السطر الواحد أبدا",
              link,
              0.3f,
              std::nullopt,
              url(photo),
              {"تم شحن الطلب وهو الآن في الطريق إلى مركز التوزيع القريب", "غدا"}},
             {"חנות הספרים", link, 0.8f, std::nullopt, std::nullopt, {"יצא למשלוח", "היום עד 18:00"}},
         })},
        {"EastAsian",
         shown({
             {"書店 東京堂",
              link,
              0.6f,
              std::nullopt,
              url(photo),
              {"配達中です", "本日 18:00 までに到着予定"}},
             {"北京图书大厦",
              link,
              0.4f,
              url(shop),
              std::nullopt,
              {"包裹正在运输途中请耐心等待送达通知", "预计周四送达"}},
             {"서울 책방", link, 0.9f, std::nullopt, std::nullopt, {"배송 중", "오늘 오후 6시 이전 도착"}},
         })},
        {"Mixed",
         shown({
             {"ร้านหนังสือกรุงเทพ ๑๙๙๙",
              link,
              0.6f,
              std::nullopt,
              url(photo),
              {"กำลังจัดส่งพัสดุ", "วันนี้ก่อน 18:00 น."}},
             {"Магазин «Ромашка»", link, 0.4f, url(shop), std::nullopt, {"В пути", "Прибудет в четверг"}},
             {"Ανθοπωλείο 🌷 👩‍👩‍👧 🇬🇷",
              link,
              0.9f,
              std::nullopt,
              std::nullopt,
              {"Σε διανομή 🚚", "Σήμερα"}},
         })},
        {"Indic",
         shown({
             {"புத்தகக் கடை", link, 0.6f, std::nullopt, url(photo), {"விநியோகத்திற்கு வெளியே", "இன்று 18:00"}},
             {"किताबों की दुकान", link, 0.4f, url(shop), std::nullopt, {"डिलीवरी के लिए निकला", "आज"}},
             {"বইয়ের দোকান", link, 0.9f, std::nullopt, std::nullopt, {"ডেলিভারির জন্য বেরিয়েছে", "আজ"}},
         })},
        {"Caucasian",
         shown({
             {"წიგნის მაღაზია", link, 0.6f, std::nullopt, url(photo), {"მიწოდებაზე გასული", "დღეს 18:00"}},
             {"Գրախանութ Երևան", link, 0.4f, url(shop), std::nullopt, {"Առաքման ճանապարհին", "Այսօր"}},
             {"የመጻሕፍት መደብር", link, 0.9f, std::nullopt, std::nullopt, {"ለማድረስ ወጥቷል", "ዛሬ"}},
         })},
        {"OneLine", shown({{"Meadow Tea",
                            link,
                            0.2f,
                            url(wide),
                            std::nullopt,
                            {"Order placed and being prepared", std::nullopt}}})},
        {"Single", shown({{"Northwind Books",
                           link,
                           0.8f,
                           url(shop),
                           url(photo),
                           {"Arriving tomorrow", "Between 2 and 4 PM"}}})},
        {"Pair", shown({
                     {"Lantern Lighting",
                      link,
                      0.4f,
                      url(white),
                      url("sample:none"),
                      {"Partially ready to ship", "Standard shipping"}},
                     {"Harbour & Sons",
                      link,
                      1.0f,
                      url(wide),
                      std::nullopt,
                      {"Delivered", "Delivered on Dec 30, 2023"}},
                 })},
        {"FixedWords", shown({
                           {"Meadow Tea",
                            link,
                            0.6f,
                            url(shop),
                            url(photo),
                            {"Customs payment due", "Arriving tomorrow between 2 and 4 PM"}},
                           {"Lantern Lighting",
                            link,
                            0.0f,
                            url(wide),
                            url(photo),
                            {"Delivered", "Delivered on Dec 30, 2023"}},
                           {"Northwind Books",
                            link,
                            0.4f,
                            std::nullopt,
                            url(photo),
                            {"Partially ready to ship", "Refunded"}},
                       })},
        {"NotLoggedIn", entry(NotLoggedIn{})},
        {"NoPackages", entry(NoPackages{})},
    };
}

widget::SimpleEntry sampleEntry(const std::string& name) {
    for (SampleEntry& sample : sampleEntries()) {
        if (sample.name == name) return std::move(sample.entry);
    }
    throw std::invalid_argument(name);
}

}  // namespace drawing_tests
