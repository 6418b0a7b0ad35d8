// The shutter-speed and aperture tables of the photographic conditions.
#include "conditions/value_tables.h"

#include <array>

namespace lmk {
namespace {

// Exposure times in seconds; a row "1/N s" holds 1/N.
constexpr std::array<ValueRow, 61> kShutterSpeeds{{
    {L"60s", 60.0},
    {L"50s", 50.0},
    {L"40s", 40.0},
    {L"30s", 30.0},
    {L"25s", 25.0},
    {L"20s", 20.0},
    {L"15s", 15.0},
    {L"13s", 13.0},
    {L"10s", 10.0},
    {L"8s", 8.0},
    {L"6s", 6.0},
    {L"5s", 5.0},
    {L"4s", 4.0},
    {L"3s", 3.0},
    {L"2.5s", 2.5},
    {L"2s", 2.0},
    {L"1.6s", 1.6},
    {L"1.3s", 1.3},
    {L"1s", 1.0},
    {L"1/1.3s", 1.0 / 1.3},
    {L"1/1.6s", 1.0 / 1.6},
    {L"1/2s", 1.0 / 2.0},
    {L"1/2.5s", 1.0 / 2.5},
    {L"1/3s", 1.0 / 3.0},
    {L"1/4s", 1.0 / 4.0},
    {L"1/5s", 1.0 / 5.0},
    {L"1/6s", 1.0 / 6.0},
    {L"1/8s", 1.0 / 8.0},
    {L"1/10s", 1.0 / 10.0},
    {L"1/13s", 1.0 / 13.0},
    {L"1/15s", 1.0 / 15.0},
    {L"1/20s", 1.0 / 20.0},
    {L"1/25s", 1.0 / 25.0},
    {L"1/30s", 1.0 / 30.0},
    {L"1/40s", 1.0 / 40.0},
    {L"1/50s", 1.0 / 50.0},
    {L"1/60s", 1.0 / 60.0},
    {L"1/80s", 1.0 / 80.0},
    {L"1/100s", 1.0 / 100.0},
    {L"1/125s", 1.0 / 125.0},
    {L"1/160s", 1.0 / 160.0},
    {L"1/200s", 1.0 / 200.0},
    {L"1/250s", 1.0 / 250.0},
    {L"1/320s", 1.0 / 320.0},
    {L"1/400s", 1.0 / 400.0},
    {L"1/500s", 1.0 / 500.0},
    {L"1/640s", 1.0 / 640.0},
    {L"1/800s", 1.0 / 800.0},
    {L"1/1000s", 1.0 / 1000.0},
    {L"1/1250s", 1.0 / 1250.0},
    {L"1/1600s", 1.0 / 1600.0},
    {L"1/2000s", 1.0 / 2000.0},
    {L"1/2500s", 1.0 / 2500.0},
    {L"1/3200s", 1.0 / 3200.0},
    {L"1/4000s", 1.0 / 4000.0},
    {L"1/5000s", 1.0 / 5000.0},
    {L"1/6400s", 1.0 / 6400.0},
    {L"1/8000s", 1.0 / 8000.0},
    {L"1/10000s", 1.0 / 10000.0},
    {L"1/12800s", 1.0 / 12800.0},
    {L"1/16000s", 1.0 / 16000.0},
}};

// f-numbers.
constexpr std::array<ValueRow, 53> kApertures{{
    {L"f/0.7", 0.7},   {L"f/0.8", 0.8},   {L"f/0.9", 0.9},   {L"f/1.0", 1.0},   {L"f/1.1", 1.1},
    {L"f/1.2", 1.2},   {L"f/1.3", 1.3},   {L"f/1.4", 1.4},   {L"f/1.5", 1.5},   {L"f/1.6", 1.6},
    {L"f/1.7", 1.7},   {L"f/1.8", 1.8},   {L"f/1.9", 1.9},   {L"f/2", 2.0},     {L"f/2.2", 2.2},
    {L"f/2.5", 2.5},   {L"f/2.8", 2.8},   {L"f/3.2", 3.2},   {L"f/3.6", 3.6},   {L"f/4", 4.0},
    {L"f/4.5", 4.5},   {L"f/5", 5.0},     {L"f/5.6", 5.6},   {L"f/6.3", 6.3},   {L"f/7.1", 7.1},
    {L"f/8", 8.0},     {L"f/9", 9.0},     {L"f/10", 10.0},   {L"f/11", 11.0},   {L"f/13", 13.0},
    {L"f/14", 14.0},   {L"f/16", 16.0},   {L"f/18", 18.0},   {L"f/20", 20.0},   {L"f/22", 22.0},
    {L"f/25", 25.0},   {L"f/28", 28.0},   {L"f/32", 32.0},   {L"f/36", 36.0},   {L"f/40", 40.0},
    {L"f/45", 45.0},   {L"f/51", 51.0},   {L"f/57", 57.0},   {L"f/64", 64.0},   {L"f/72", 72.0},
    {L"f/80", 80.0},   {L"f/90", 90.0},   {L"f/100", 100.0}, {L"f/114", 114.0}, {L"f/128", 128.0},
    {L"f/160", 160.0}, {L"f/200", 200.0}, {L"f/256", 256.0},
}};

}  // namespace

std::span<const ValueRow> ShutterSpeedTable() { return kShutterSpeeds; }
std::span<const ValueRow> ApertureTable() { return kApertures; }

double TableValue(std::span<const ValueRow> table, std::int32_t index) {
  if (index < 0 || static_cast<std::size_t>(index) >= table.size()) return 0.0;
  return table[static_cast<std::size_t>(index)].value;
}

std::wstring_view TableLabel(std::span<const ValueRow> table, std::int32_t index) {
  if (index < 0 || static_cast<std::size_t>(index) >= table.size()) return {};
  return table[static_cast<std::size_t>(index)].label;
}

}  // namespace lmk
