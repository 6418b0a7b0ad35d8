// The GPS conditions on per-file records: the direction arc and its north reference, the position
// distance and pointing (altitude, speed and presence are rows of condition_evaluation_test.cpp).
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "condition_fixture.h"
#include "conditions/geodesy.h"
#include "conditions/gps_altitude_condition.h"
#include "conditions/gps_direction_condition.h"
#include "conditions/gps_metadata_condition.h"
#include "conditions/gps_position_condition.h"
#include "conditions/gps_speed_condition.h"
#include "conditions/magnetic_model.h"
#include "conditions/packed_comparison.h"
#include "platform/text_encoding.h"
#include "support/data_table.h"

namespace lmk {
namespace {

using test::kCaseName;

// 2020-06-15 00:00 UTC as a FILETIME count, and a place with a large easterly declination then
// (about 15 degrees), for the north reference tests.
constexpr std::int64_t kJune2020 = (134774LL + 18428) * 864'000'000'000LL;
constexpr double kAlaskaLat = 64.8, kAlaskaLon = -147.7;
const double kDeclination = MagneticDeclination(kAlaskaLat, kAlaskaLon, 2020.0 + 166.0 / 366.0);

constexpr USHORT kPos = LMKGPS_POSITION, kMag = LMKGPS_IMGDIRECTION_MAGNETIC;

// The GPS part of a per-file record.
struct Gps {
  USHORT flags = 0;
  double latitude = 0, longitude = 0;
  float altitude = 0, speed = 0, direction = 0;
  std::int64_t timeStamp = 0, dateTaken = 0;
};

ComPtr<IDictionary> Record(const Gps& g) {
  return test::MakeRecord({{L"Meta.GPS.Flags", Variant::UI2(g.flags)},
                           {L"Meta.GPS.Latitude", Variant::R8(g.latitude)},
                           {L"Meta.GPS.Longitude", Variant::R8(g.longitude)},
                           {L"Meta.GPS.Altitude", Variant::R4(g.altitude)},
                           {L"Meta.GPS.Speed", Variant::R4(g.speed)},
                           {L"Meta.GPS.ImgDirection", Variant::R4(g.direction)},
                           {L"Meta.GPS.TimeStampFT", Variant::I8(g.timeStamp)},
                           {L"Meta.DateTakenFT", Variant::I8(g.dateTaken)},
                           {L"File.CreationTimeFT", Variant::I8(0)}});
}

// ---- direction ----

class DirectionTest : public testing::TestWithParam<test::CaseRow> {};

// Fields: answer, wanted, tolerance, reference, flags, image direction, declination multiple.
TEST_P(DirectionTest, Evaluates) {
  const test::CaseRow& c = GetParam();
  CGpsDirectionCondition condition;
  condition.SetWord(
      CGpsDirectionCondition::Pack(std::stoi(c[1]), std::stoi(c[2]), c[3] == "magnetic"));
  ASSERT_GT(kDeclination, 10.0);
  const Gps gps{.flags = static_cast<USHORT>(std::stoul(c[4], nullptr, 0)),
                .latitude = kAlaskaLat,
                .longitude = kAlaskaLon,
                .direction = static_cast<float>(std::stod(c[5]) + std::stod(c[6]) * kDeclination),
                .dateTaken = kJune2020};
  EXPECT_EQ(condition.Evaluate(Record(gps).Get()), test::Result(c[0]));
}

INSTANTIATE_TEST_SUITE_P(Cases, DirectionTest,
                         testing::ValuesIn(test::ReadCaseTable("cases/gps_directions.tsv")),
                         kCaseName);

TEST(DirectionReference, Converts) {
  EXPECT_DOUBLE_EQ(ConvertDirectionReference(2, 15, false), 373);
  EXPECT_DOUBLE_EQ(ConvertDirectionReference(350, 15, true), 5);
}

// ---- position ----

constexpr double kImageLat = 48.0, kImageLon = 2.0;

// The latitude north of the image at which the distance is at most metres, within a micrometre.
double LatitudeAtDistance(double metres) {
  double lo = kImageLat, hi = kImageLat + 1;
  for (int i = 0; i < 200; ++i) {
    const double mid = (lo + hi) / 2;
    (VincentyInverse(kImageLat, kImageLon, mid, kImageLon).distance <= metres ? lo : hi) = mid;
  }
  return lo;
}

class PositionTest : public testing::TestWithParam<test::CaseRow> {};

// Fields: answer, flags, image latitude and longitude, target latitude ("km": 1 km north of the
// image) and longitude, distance, unit, range, pointing, direction.
TEST_P(PositionTest, Evaluates) {
  const test::CaseRow& c = GetParam();
  CGpsPositionCondition condition;
  condition.SetParameters(
      {.target = {c[4] == "km" ? LatitudeAtDistance(1000) : std::stod(c[4]), std::stod(c[5])},
       .distance = std::stod(c[6]),
       .unit = static_cast<std::uint16_t>(std::stoi(c[7])),
       .fartherThan = c[8] == "farther",
       .pointing = c[9] == "pointing",
       .tolerance = 5});
  const Gps gps{.flags = static_cast<USHORT>(std::stoul(c[1], nullptr, 0)),
                .latitude = std::stod(c[2]),
                .longitude = std::stod(c[3]),
                .direction = std::stof(c[10])};
  EXPECT_EQ(condition.Evaluate(Record(gps).Get()), test::Result(c[0]));
}

INSTANTIATE_TEST_SUITE_P(Cases, PositionTest,
                         testing::ValuesIn(test::ReadCaseTable("cases/gps_positions.tsv")),
                         kCaseName);

TEST(PositionPointing, MagneticDirectionIsCorrectedByDeclination) {
  // Looking due south at a target 2 km away, with a compass reading that needs the declination.
  CGpsPositionCondition condition;
  condition.SetParameters({.target = {kAlaskaLat - 0.018, kAlaskaLon},
                           .distance = 3,
                           .unit = CGpsPositionCondition::kKilometres,
                           .pointing = true,
                           .tolerance = 2});
  Gps gps{.flags = kPos | kMag,
          .latitude = kAlaskaLat,
          .longitude = kAlaskaLon,
          .direction = static_cast<float>(180 - kDeclination),
          .timeStamp = kJune2020};
  EXPECT_EQ(condition.Evaluate(Record(gps).Get()), S_OK);
  gps.direction = 180.0f;  // the reading taken as true north misses by the declination
  EXPECT_EQ(condition.Evaluate(Record(gps).Get()), S_FALSE);
}

// ---- common steps ----

TEST(GpsConditions, NullRecordMissingAndOverflowingFlags) {
  CGpsAltitudeCondition altitude;
  CGpsPositionCondition position;
  CGpsDirectionCondition direction;
  CGpsMetadataCondition metadata;
  metadata.Set(true, kPos);
  CGpsSpeedCondition speed;
  const CCondition* all[] = {&altitude, &position, &direction, &metadata, &speed};
  for (const CCondition* condition : all) {
    SCOPED_TRACE(ToUtf8(condition->Key()));
    EXPECT_EQ(condition->Evaluate(nullptr), E_INVALIDARG);
    EXPECT_EQ(condition->Evaluate(test::MakeRecord({}).Get()), E_FAIL);
  }
  ComPtr<IDictionary> record = Record({});
  ThrowIfFailed(record->put_Value(Bstr(L"Meta.GPS.Flags").get(), Variant::I4(70000).ref()));
  EXPECT_EQ(metadata.Evaluate(record.Get()), DISP_E_OVERFLOW);
}

}  // namespace
}  // namespace lmk
