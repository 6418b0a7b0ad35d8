// The pixel format names the metadata reader gives and their GUIDs.
#include "host/wic_pixel_format.h"

#include <array>

namespace lmk {
namespace {

struct PixelFormat {
  std::wstring_view name;
  std::wstring_view guid;
};

// The formats share one GUID family and differ in the last byte.
constexpr auto kFormats = std::to_array<PixelFormat>({
    {L"1bppIndexed", L"{6FDDC324-4E03-4BFE-B185-3D77768DC901}"},
    {L"2bppIndexed", L"{6FDDC324-4E03-4BFE-B185-3D77768DC902}"},
    {L"4bppIndexed", L"{6FDDC324-4E03-4BFE-B185-3D77768DC903}"},
    {L"8bppIndexed", L"{6FDDC324-4E03-4BFE-B185-3D77768DC904}"},
    {L"1bppGray", L"{6FDDC324-4E03-4BFE-B185-3D77768DC905}"},
    {L"2bppGray", L"{6FDDC324-4E03-4BFE-B185-3D77768DC906}"},
    {L"4bppGray", L"{6FDDC324-4E03-4BFE-B185-3D77768DC907}"},
    {L"8bppGray", L"{6FDDC324-4E03-4BFE-B185-3D77768DC908}"},
    {L"16bppGray", L"{6FDDC324-4E03-4BFE-B185-3D77768DC90B}"},
    {L"24bppBGR", L"{6FDDC324-4E03-4BFE-B185-3D77768DC90C}"},
    {L"24bppRGB", L"{6FDDC324-4E03-4BFE-B185-3D77768DC90D}"},
    {L"32bppBGR", L"{6FDDC324-4E03-4BFE-B185-3D77768DC90E}"},
    {L"32bppBGRA", L"{6FDDC324-4E03-4BFE-B185-3D77768DC90F}"},
    {L"48bppRGB", L"{6FDDC324-4E03-4BFE-B185-3D77768DC915}"},
    {L"64bppRGBA", L"{6FDDC324-4E03-4BFE-B185-3D77768DC916}"},
    {L"32bppCMYK", L"{6FDDC324-4E03-4BFE-B185-3D77768DC91C}"},
    {L"64bppCMYK", L"{6FDDC324-4E03-4BFE-B185-3D77768DC91F}"},
});

}  // namespace

std::wstring WicPixelFormatText(std::wstring_view name) {
  for (const PixelFormat& format : kFormats) {
    if (format.name == name) return std::wstring(format.guid);
  }
  return std::wstring(name);
}

}  // namespace lmk
