#include "Theme.h"

#include "ui/components/Appearance.h"

#include <gtest/gtest.h>

#include <QColor>

#include <cmath>

namespace kelpay {
namespace {

double luminance(const QColor &color)
{
    const auto linear = [](double part) {
        return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

/// `over` drawn with its opacity on `under`.
QColor blended(const QColor &over, const QColor &under)
{
    const float part = over.alphaF();
    const auto mix = [part](float top, float bottom) { return top * part + bottom * (1 - part); };
    return QColor::fromRgbF(mix(over.redF(), under.redF()), mix(over.greenF(), under.greenF()),
                            mix(over.blueF(), under.blueF()));
}

double contrast(const QColor &one, const QColor &other)
{
    const auto [dark, light] = std::minmax({luminance(one), luminance(other)});
    return (light + 0.05) / (dark + 0.05);
}

// WCAG 2.1 AA: 4.5 for texts, 3 for what shows where something is.
TEST(Theme, everyPairCanBeReadInBothSchemes)
{
    constexpr double text = 4.5;
    constexpr double shape = 3;
    const struct
    {
        const char *front;
        const char *ground;
        double least;
    } pairs[] = {
        {"ink", "surface", text},          // labels, the alert, the progress panel, fields
        {"ink", "page", text},             // a field that takes no input, the chosen row
        {"inkSoft", "surface", text},      // field names, details
        {"inkSoft", "page", text},         // time left, verification fault
        {"inkSoft", "disabled", text},     // a button that takes no input
        {"hint", "surface", text},         // hints, the wheels' other rows
        {"hint", "page", text},            // hints of a field that takes no input, the wheels' middle
        {"blue", "surface", text},         // amount, sheet and alert titles, text buttons
        {"blue", "page", text},            // the chosen row of a wheel
        {"magenta", "surface", text},      // the verification link
        {"magenta", "page", text},         // the last minute
        {"fault", "surface", text},        // what is wrong with a field, a failed receipt
        {"success", "surface", text},      // a paid receipt
        {"onColor", "action", text},       // the main button
        {"onColor", "selection", text},    // a selection in a field
        {"onColor", "bannerColor", text},  // the banner
        {"onColor", "accessory", text},    // the bar above the keyboard
        {"brandBlue", "barSurface", text}, // title and button of the navigation bar
        {"onColor", "successFill", shape}, // the receipt's sign
        {"blue", "surface", shape},        // icons
        {"outline", "surface", shape},     // a field's edge
        {"outline", "page", shape},        // the edge of one that takes no input, of a wheel
        {"blue", "page", shape},           // the edge of the field being edited
        {"fault", "page", shape},          // the edge of a faulty field
        {"magenta", "page", shape},        // the focus ring
        {"magenta", "surface", shape},     //
        {"magenta", "accessory", shape},
        {"brandMagenta", "barSurface", shape}, // the focus ring in the navigation bar
        {"action", "surface", shape},          // the main button's edge
        {"action", "page", shape},             //
    };
    const QObject *colors = theme();
    ASSERT_TRUE(colors);
    const auto color = [colors](const char *name) {
        const auto value = colors->property(name).value<QColor>();
        EXPECT_TRUE(value.isValid()) << name;
        return value;
    };
    for (const bool isDark : {false, true}) {
        Appearance::shared().pin({isDark, false, 1});
        // What is not opaque stands over the page, in the worst case.
        for (const auto &[front, ground, least] : pairs)
            EXPECT_GE(contrast(color(front), blended(color(ground), color("page"))), least)
                << front << " on " << ground << (isDark ? ", dark" : ", light");
    }
    Appearance::shared().pin({});
}

} // namespace
} // namespace kelpay
