// The GPS conditions on per-file records: presence bits, units and tolerances, the operators,
// the direction arc and its north reference, the position distance and pointing.
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

namespace lmk {
namespace {

using test::kCaseName;

// 2020-06-15 00:00 UTC as a FILETIME count, and a place with a large easterly declination then
// (about 15 degrees), for the north reference tests.
constexpr std::int64_t kJune2020 = (134774LL + 18428) * 864'000'000'000LL;
constexpr double kAlaskaLat = 64.8, kAlaskaLon = -147.7;
const double kDeclination = MagneticDeclination(kAlaskaLat, kAlaskaLon, 2020.0 + 166.0 / 366.0);

constexpr USHORT kAlt = LMKGPS_ALTITUDE, kSpd = LMKGPS_SPEED, kPos = LMKGPS_POSITION,
                 kMag = LMKGPS_IMGDIRECTION_MAGNETIC, kTrue = LMKGPS_IMGDIRECTION_TRUE;

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

// ---- altitude and speed: operator code in the top four bits, unit apart ----

struct QuantityCase {
  const char* name;
  bool speed;
  USHORT flags;
  float value;
  unsigned code;
  DWORD operand;
  std::uint32_t unit;
  HRESULT expected;
};

const QuantityCase kQuantityCases[] = {
    {"EqualHoldsHalfMetreBelow", false, kAlt, 99.5f, 1, 100, 0, S_OK},
    {"EqualFailsBeyondHalfMetre", false, kAlt, 100.6f, 1, 100, 0, S_FALSE},
    {"NotEqualHoldsBeyondHalfMetre", false, kAlt, 99.4f, 2, 100, 0, S_OK},
    {"NotEqualFailsWithinHalfMetre", false, kAlt, 100.4f, 2, 100, 0, S_FALSE},
    {"LessIsStrictWithoutTolerance", false, kAlt, 100.0f, 3, 100, 0, S_FALSE},
    {"LessOrEqualWidenedByHalfMetre", false, kAlt, 100.5f, 4, 100, 0, S_OK},
    {"LessOrEqualFailsBeyondHalfMetre", false, kAlt, 100.6f, 4, 100, 0, S_FALSE},
    {"GreaterHoldsJustAbove", false, kAlt, 100.1f, 5, 100, 0, S_OK},
    {"GreaterIsStrictWithoutTolerance", false, kAlt, 100.0f, 5, 100, 0, S_FALSE},
    {"GreaterOrEqualWidenedByHalfMetre", false, kAlt, 99.5f, 6, 100, 0, S_OK},
    {"GreaterOrEqualFailsBeyondHalfMetre", false, kAlt, 99.4f, 6, 100, 0, S_FALSE},
    {"NoPresenceBitNeverHoldsNotEqual", false, 0, 5.0f, 2, 100, 0, S_FALSE},
    {"OperatorSevenIsUnexpected", false, kAlt, 100.0f, 7, 100, 0, E_UNEXPECTED},
    {"FeetEqualWithinHalfFoot", false, kAlt, 100.0f, 1, 328, 1, S_OK},  // 328 ft = 99.9744 m
    {"FeetEqualBeyondHalfFoot", false, kAlt, 100.2f, 1, 328, 1, S_FALSE},
    {"NoPresenceBitNeverHoldsEqual", false, kSpd, 100.0f, 1, 100, 0, S_FALSE},
    {"NoPresenceBitIgnoresBadOperator", false, 0, 5.0f, 0, 100, 0, S_FALSE},
    {"OperatorZeroIsUnexpected", false, kAlt, 100.0f, 0, 100, 0, E_UNEXPECTED},
    {"NotSetIsUnexpected", false, kAlt, 100.0f, 15, 100, 0, E_UNEXPECTED},
    {"UnknownUnitEqualsNothing", false, kAlt, 100.0f, 1, 100, 7, S_FALSE},
    {"UnknownUnitIsAboveEverything", false, kAlt, 100000.0f, 3, 100, 7, S_OK},
    {"NegativeAltitudeBelowZero", false, kAlt, -20.0f, 3, 0, 0, S_OK},
    // 60 mph = 96.56064 km/h, half a mile per hour = 0.804672 km/h.
    {"MphEqualWithinHalfMileAbove", true, kSpd, 97.36f, 1, 60, 1, S_OK},
    {"MphEqualBeyondHalfMileAbove", true, kSpd, 97.37f, 1, 60, 1, S_FALSE},
    {"MphEqualWithinHalfMileBelow", true, kSpd, 95.76f, 1, 60, 1, S_OK},
    {"MphEqualBeyondHalfMileBelow", true, kSpd, 95.75f, 1, 60, 1, S_FALSE},
    {"KmhLessOrEqualWidened", true, kSpd, 50.5f, 4, 50, 0, S_OK},
    {"KnotsEqual", true, kSpd, 18.52f, 1, 10, 2, S_OK},
    {"KnotsGreaterOrEqualWidened", true, kSpd, 17.6f, 6, 10, 2, S_OK},
    {"KnotsGreaterOrEqualBeyond", true, kSpd, 17.5f, 6, 10, 2, S_FALSE},
    {"MetresPerSecondBeyond", true, kSpd, 37.9f, 1, 10, 3, S_FALSE},
    {"FeetPerSecondGreaterStrict", true, kSpd, 10.97f, 5, 10, 4, S_FALSE},
    {"MetresPerSecondWithin", true, kSpd, 37.7f, 1, 10, 3, S_OK},
    {"FeetPerSecondGreater", true, kSpd, 11.0f, 5, 10, 4, S_OK},
    {"SpeedNoPresenceBitNeverHolds", true, kAlt, 50.0f, 1, 50, 0, S_FALSE},
    {"SpeedUnknownOperator", true, kSpd, 50.0f, 9, 50, 0, E_UNEXPECTED},
};

class QuantityTest : public testing::TestWithParam<QuantityCase> {};

TEST_P(QuantityTest, Evaluates) {
  const QuantityCase& c = GetParam();
  const DWORD word = (static_cast<DWORD>(c.code) << 28) | c.operand;
  CGpsAltitudeCondition altitude;
  CGpsSpeedCondition speed;
  altitude.Set(word, c.unit);
  speed.Set(word, c.unit);
  Gps gps{.flags = c.flags, .altitude = c.value, .speed = c.value};
  const CCondition& condition = c.speed ? static_cast<const CCondition&>(speed) : altitude;
  EXPECT_EQ(condition.Evaluate(Record(gps).Get()), c.expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, QuantityTest, testing::ValuesIn(kQuantityCases), kCaseName);

// ---- metadata ----

struct MetadataCase {
  const char* name;
  bool has;
  USHORT mask, flags;
  HRESULT expected;
};

const MetadataCase kMetadataCases[] = {
    {"HasPosition", true, kPos, kPos | kAlt, S_OK},
    {"HasAltitudeMissing", true, kAlt, kPos, S_FALSE},
    {"HasAnyOfTwo", true, kAlt | kSpd, kSpd, S_OK},
    {"HasNotAltitude", false, kAlt, kPos, S_OK},
    {"HasNotAnyOfTwoFails", false, kAlt | kSpd, kSpd, S_FALSE},
    {"HighBitIgnoredWhenAbsentWanted", false, 0x80, 0x80, S_OK},
    {"DirectionEitherReference", true, kMag | kTrue, kMag, S_OK},
    {"HighBitIgnored", true, 0x80, 0x80, S_FALSE},
};

class MetadataTest : public testing::TestWithParam<MetadataCase> {};

TEST_P(MetadataTest, Evaluates) {
  CGpsMetadataCondition condition;
  condition.Set(GetParam().has, GetParam().mask);
  EXPECT_EQ(condition.Evaluate(Record({.flags = GetParam().flags}).Get()), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, MetadataTest, testing::ValuesIn(kMetadataCases), kCaseName);

// ---- direction ----

struct DirectionCase {
  const char* name;
  unsigned wanted, tolerance;
  bool magneticCondition;
  USHORT flags;
  // The image direction, shifted by the declination times declinationFactor.
  float direction;
  double declinationFactor;
  HRESULT expected;
};

const DirectionCase kDirectionCases[] = {
    {"InsideTolerance", 90, 5, false, kTrue, 93.0f, 0, S_OK},
    {"LowerEdgeWithMarginIncluded", 90, 5, false, kTrue, 84.5f, 0, S_OK},
    {"UpperEdgeWithMarginOpen", 90, 5, false, kTrue, 95.5f, 0, S_FALSE},
    {"WrapThroughNorthTooFar", 2, 5, false, kTrue, 356.0f, 0, S_FALSE},
    {"BelowLowerEdge", 90, 5, false, kTrue, 84.4f, 0, S_FALSE},
    {"WrapThroughNorth", 2, 5, false, kTrue, 359.0f, 0, S_OK},
    {"ZeroToleranceHalfDegree", 180, 0, false, kTrue, 180.4f, 0, S_OK},
    {"NoDirectionNeverHolds", 90, 5, false, kPos, 90.0f, 0, S_FALSE},
    {"SameMagneticReferenceNotConverted", 90, 2, true, kPos | kMag, 90.0f, 0, S_OK},
    // Geographic condition, magnetic image: the wanted 90 degrees becomes 90 − δ.
    {"GeographicWantedOnMagneticImage", 90, 2, false, kPos | kMag, 90.0f, -1, S_OK},
    {"GeographicWantedUnconvertedFails", 90, 2, false, kPos | kMag, 90.0f, 0, S_FALSE},
    // Magnetic condition, true image: the wanted 90 degrees becomes 90 + δ.
    {"MagneticWantedOnTrueImage", 90, 2, true, kPos | kTrue, 90.0f, 1, S_OK},
    // No position: the declination is unknown and the direction is taken as it is.
    {"NoPositionNoConversion", 90, 2, false, kMag, 90.0f, 0, S_OK},
    // Wanted 2 degrees true on a magnetic image: 2 − δ < 0 becomes 360 − (2 − δ), about 373,
    // not 347; the image direction 347 (where the camera really pointed) is not met.
    {"NegativeResultBecomes360MinusIt", 2, 3, false, kPos | kMag, 362.0f, -1, S_FALSE},
};

class DirectionTest : public testing::TestWithParam<DirectionCase> {};

TEST_P(DirectionTest, Evaluates) {
  const DirectionCase& c = GetParam();
  CGpsDirectionCondition condition;
  condition.SetWord(CGpsDirectionCondition::Pack(c.wanted, c.tolerance, c.magneticCondition));
  ASSERT_GT(kDeclination, 10.0);
  const Gps gps{.flags = c.flags,
                .latitude = kAlaskaLat,
                .longitude = kAlaskaLon,
                .direction = static_cast<float>(c.direction + c.declinationFactor * kDeclination),
                .dateTaken = kJune2020};
  EXPECT_EQ(condition.Evaluate(Record(gps).Get()), c.expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, DirectionTest, testing::ValuesIn(kDirectionCases), kCaseName);

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

struct PositionCase {
  const char* name;
  USHORT flags;
  double imageLat, imageLon;
  CGpsPositionCondition::Parameters params;
  float direction;
  HRESULT expected;
};

CGpsPositionCondition::Parameters Within(double lat, double lon, double distance,
                                         std::uint16_t unit, bool farther = false,
                                         bool pointing = false) {
  return {.target = {lat, lon},
          .distance = distance,
          .unit = unit,
          .fartherThan = farther,
          .pointing = pointing,
          .tolerance = 5};
}

std::vector<PositionCase> PositionCases() {
  const double km = LatitudeAtDistance(1000);  // one kilometre north of the image
  using C = CGpsPositionCondition;
  const double lat = kImageLat, lon = kImageLon;
  return {
      {"WithinOneKmHolds", kPos, lat, lon, Within(km, lon, 1, C::kKilometres), 0, S_OK},
      {"FartherThanOneKmFails", kPos, lat, lon, Within(km, lon, 1, C::kKilometres, true), 0,
       S_FALSE},
      {"WithinSlightlyLessFails", kPos, lat, lon, Within(km, lon, 999.99, C::kMetres), 0, S_FALSE},
      {"FartherThanSlightlyLessHolds", kPos, lat, lon, Within(km, lon, 999.99, C::kMetres, true), 0,
       S_OK},
      {"LongitudeMinusOneIsMissing", kPos, lat, -1.0, Within(lat, lon, 1, C::kKilometres), 0,
       E_FAIL},
      {"NearAntipodeFartherNeverHolds", kPos, 0.0, 0.0, Within(0.5, 179.7, 0, C::kMetres, true), 0,
       S_FALSE},
      {"PointingWrapsThroughNorth", kPos | kTrue, lat, lon,
       Within(km, lon, 2, C::kKilometres, false, true), 357.0f, S_OK},
      {"MilesUnit", kPos, lat, lon, Within(km, lon, 0.622, C::kMiles), 0, S_OK},
      {"NauticalMilesUnit", kPos, lat, lon, Within(km, lon, 0.539, C::kNauticalMiles), 0, S_FALSE},
      {"UnknownUnitIsZeroDistance", kPos, lat, lon, Within(km, lon, 5, 9), 0, S_FALSE},
      {"MissingPositionBitFails", 0, lat, lon, Within(lat, lon, 1, C::kKilometres), 0, E_FAIL},
      {"LatitudeMinusOneIsMissing", kPos, -1.0, lon, Within(lat, lon, 1, C::kKilometres), 0,
       E_FAIL},
      {"WrappedTargetLongitude", kPos, lat, lon, Within(lat, lon + 360, 1, C::kMetres), 0, S_OK},
      {"AcrossDateLine", kPos, 0.0, 179.9995, Within(0.0, -179.9995, 112, C::kMetres), 0, S_OK},
      {"NearAntipodeWithinNeverHolds", kPos, 0.0, 0.0, Within(0.5, 179.7, 1e5, C::kKilometres), 0,
       S_FALSE},
      {"PointingAtTarget", kPos | kTrue, lat, lon, Within(km, lon, 2, C::kKilometres, false, true),
       3.0f, S_OK},
      {"PointingAway", kPos | kTrue, lat, lon, Within(km, lon, 2, C::kKilometres, false, true),
       180.0f, S_FALSE},
      {"PointingWithoutDirection", kPos, lat, lon, Within(km, lon, 2, C::kKilometres, false, true),
       0.0f, S_FALSE},
      {"PointingNotCheckedWhenTooFar", kPos | kTrue, lat, lon,
       Within(km, lon, 0.5, C::kKilometres, false, true), 0.0f, S_FALSE},
  };
}

class PositionTest : public testing::TestWithParam<PositionCase> {};

TEST_P(PositionTest, Evaluates) {
  const PositionCase& c = GetParam();
  CGpsPositionCondition condition;
  condition.SetParameters(c.params);
  const Gps gps{
      .flags = c.flags, .latitude = c.imageLat, .longitude = c.imageLon, .direction = c.direction};
  EXPECT_EQ(condition.Evaluate(Record(gps).Get()), c.expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, PositionTest, testing::ValuesIn(PositionCases()), kCaseName);

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
