// The layer manager's window rectangle, kept in the Host application's profile strings.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tv {

/// Where the window of the layer manager was, in screen pixels.
struct TvWindowRect {
    int left = 0;
    int top = 0;
    int width = 0;
    int height = 0;

    bool operator==(const TvWindowRect&) const = default;
};

/// Profile section and entry of the rectangle.
inline constexpr const wchar_t* kWindowRectSection = L"LayerDialog";
inline constexpr const wchar_t* kWindowRectEntry = L"MainWindowRect";

/// Reads "left top width height": four decimal numbers separated by blanks, the last taking
/// the rest of the text; a field that is not a number reads as 0. Nothing for an empty text
/// and for a width or height that is not positive, which could not place a window.
std::optional<TvWindowRect> parseWindowRect(std::wstring_view text);

/// "left top width height" ("%d %d %d %d") of the rectangle with these edges.
std::wstring formatWindowRect(int left, int top, int right, int bottom);

/// The stored rectangle of the layer manager; nothing when none (or no usable one) is stored.
std::optional<TvWindowRect> readManagerWindowRect();

/// Stores the rectangle with these edges; false when the profile store refuses it.
bool writeManagerWindowRect(int left, int top, int right, int bottom);

} // namespace tv
