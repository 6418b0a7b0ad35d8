// Tests of the GPS conditions on per-file records: presence bits, units and tolerances, the
// operators, the direction arc and its north reference, the position distance and pointing.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "com/bstr.h"
#include "com/variant.h"
#include "conditions/geodesy.h"
#include "conditions/gps_altitude_condition.h"
#include "conditions/gps_direction_condition.h"
#include "conditions/gps_metadata_condition.h"
#include "conditions/gps_position_condition.h"
#include "conditions/gps_speed_condition.h"
#include "conditions/magnetic_model.h"
#include "conditions/packed_comparison.h"
#include "dictionary/idictionary.h"

namespace lmk {
namespace {

// 2020-06-15 00:00 UTC as a FILETIME count.
constexpr std::int64_t kJune2020 = (134774LL + 18428) * 864'000'000'000LL;
constexpr double kJune2020Year = 2020.0 + 166.0 / 366.0;

// The GPS part of a per-file record.
struct GpsValues {
  USHORT flags = 0;
  double latitude = 0;
  double longitude = 0;
  float altitude = 0;
  float speed = 0;
  float direction = 0;
  std::int64_t timeStamp = 0;
  std::int64_t dateTaken = 0;
};

ComPtr<IDictionary> MakeRecord(const GpsValues& gps) {
  ComPtr<IDictionary> record = MakeDictionary();
  auto put = [&](const wchar_t* name, const Variant& value) {
    ThrowIfFailed(record->put_Value(Bstr(name).get(), value.ref()));
  };
  put(L"Meta.GPS.Flags", Variant::UI2(gps.flags));
  put(L"Meta.GPS.Latitude", Variant::R8(gps.latitude));
  put(L"Meta.GPS.Longitude", Variant::R8(gps.longitude));
  put(L"Meta.GPS.Altitude", Variant::R4(gps.altitude));
  put(L"Meta.GPS.Speed", Variant::R4(gps.speed));
  put(L"Meta.GPS.ImgDirection", Variant::R4(gps.direction));
  put(L"Meta.GPS.TimeStampFT", Variant::I8(gps.timeStamp));
  put(L"Meta.DateTakenFT", Variant::I8(gps.dateTaken));
  put(L"File.CreationTimeFT", Variant::I8(0));
  return record;
}

constexpr USHORT kAlt = LMKGPS_ALTITUDE;
constexpr USHORT kSpd = LMKGPS_SPEED;
constexpr USHORT kPos = LMKGPS_POSITION;
constexpr USHORT kMag = LMKGPS_IMGDIRECTION_MAGNETIC;
constexpr USHORT kTrue = LMKGPS_IMGDIRECTION_TRUE;

// ---- altitude and speed ----

struct QuantityCase {
  const char* name;
  USHORT flags;
  float value;
  unsigned code;
  DWORD operand;
  std::uint32_t unit;
  HRESULT expected;
};

DWORD Word(unsigned code, DWORD operand) { return (static_cast<DWORD>(code) << 28) | operand; }

const QuantityCase kAltitudeCases[] = {
    {"EqualHoldsHalfMetreBelow", kAlt, 99.5f, 1, 100, 0, S_OK},
    {"EqualHoldsHalfMetreAbove", kAlt, 100.5f, 1, 100, 0, S_OK},
    {"EqualFailsBeyondHalfMetre", kAlt, 100.6f, 1, 100, 0, S_FALSE},
    {"NotEqualFailsWithinHalfMetre", kAlt, 100.4f, 2, 100, 0, S_FALSE},
    {"NotEqualHoldsBeyondHalfMetre", kAlt, 99.4f, 2, 100, 0, S_OK},
    {"LessHoldsJustBelow", kAlt, 99.9f, 3, 100, 0, S_OK},
    {"LessIsStrictWithoutTolerance", kAlt, 100.0f, 3, 100, 0, S_FALSE},
    {"LessOrEqualWidenedByHalfMetre", kAlt, 100.5f, 4, 100, 0, S_OK},
    {"LessOrEqualFailsBeyondHalfMetre", kAlt, 100.6f, 4, 100, 0, S_FALSE},
    {"GreaterIsStrictWithoutTolerance", kAlt, 100.0f, 5, 100, 0, S_FALSE},
    {"GreaterHoldsJustAbove", kAlt, 100.1f, 5, 100, 0, S_OK},
    {"GreaterOrEqualWidenedByHalfMetre", kAlt, 99.5f, 6, 100, 0, S_OK},
    {"GreaterOrEqualFailsBeyondHalfMetre", kAlt, 99.4f, 6, 100, 0, S_FALSE},
    {"FeetEqualWithinHalfFoot", kAlt, 100.0f, 1, 328, 1, S_OK},  // 328 ft = 99.9744 m
    {"FeetEqualBeyondHalfFoot", kAlt, 100.2f, 1, 328, 1, S_FALSE},
    {"NoPresenceBitNeverHoldsEqual", kSpd, 100.0f, 1, 100, 0, S_FALSE},
    {"NoPresenceBitNeverHoldsNotEqual", 0, 5.0f, 2, 100, 0, S_FALSE},
    {"NoPresenceBitNeverHoldsLess", 0, 5.0f, 3, 100, 0, S_FALSE},
    {"NoPresenceBitIgnoresBadOperator", 0, 5.0f, 0, 100, 0, S_FALSE},
    {"OperatorZeroIsUnexpected", kAlt, 100.0f, 0, 100, 0, E_UNEXPECTED},
    {"OperatorSevenIsUnexpected", kAlt, 100.0f, 7, 100, 0, E_UNEXPECTED},
    {"NotSetIsUnexpected", kAlt, 100.0f, 15, 100, 0, E_UNEXPECTED},
    {"UnknownUnitEqualsNothing", kAlt, 100.0f, 1, 100, 7, S_FALSE},
    {"UnknownUnitIsAboveEverything", kAlt, 100000.0f, 3, 100, 7, S_OK},
    {"NegativeAltitudeBelowZero", kAlt, -20.0f, 3, 0, 0, S_OK},
};

const QuantityCase kSpeedCases[] = {
    // 60 mph = 96.56064 km/h, half a mile per hour = 0.804672 km/h.
    {"MphEqualWithinHalfMileAbove", kSpd, 97.36f, 1, 60, 1, S_OK},
    {"MphEqualBeyondHalfMileAbove", kSpd, 97.37f, 1, 60, 1, S_FALSE},
    {"MphEqualWithinHalfMileBelow", kSpd, 95.76f, 1, 60, 1, S_OK},
    {"MphEqualBeyondHalfMileBelow", kSpd, 95.75f, 1, 60, 1, S_FALSE},
    {"KmhLessOrEqualWidened", kSpd, 50.5f, 4, 50, 0, S_OK},
    {"KnotsEqual", kSpd, 18.52f, 1, 10, 2, S_OK},
    {"KnotsGreaterOrEqualWidened", kSpd, 17.6f, 6, 10, 2, S_OK},
    {"KnotsGreaterOrEqualBeyond", kSpd, 17.5f, 6, 10, 2, S_FALSE},
    {"MetresPerSecondWithin", kSpd, 37.7f, 1, 10, 3, S_OK},
    {"MetresPerSecondBeyond", kSpd, 37.9f, 1, 10, 3, S_FALSE},
    {"FeetPerSecondGreaterStrict", kSpd, 10.97f, 5, 10, 4, S_FALSE},
    {"FeetPerSecondGreater", kSpd, 11.0f, 5, 10, 4, S_OK},
    {"NoPresenceBitNeverHolds", kAlt, 50.0f, 1, 50, 0, S_FALSE},
    {"UnknownOperator", kSpd, 50.0f, 9, 50, 0, E_UNEXPECTED},
};

class AltitudeTest : public testing::TestWithParam<QuantityCase> {};
class SpeedTest : public testing::TestWithParam<QuantityCase> {};

TEST_P(AltitudeTest, Evaluates) {
  const QuantityCase& c = GetParam();
  CGpsAltitudeCondition condition;
  condition.Set(Word(c.code, c.operand), c.unit);
  GpsValues gps;
  gps.flags = c.flags;
  gps.altitude = c.value;
  EXPECT_EQ(condition.Evaluate(MakeRecord(gps).Get()), c.expected);
}

TEST_P(SpeedTest, Evaluates) {
  const QuantityCase& c = GetParam();
  CGpsSpeedCondition condition;
  condition.Set(Word(c.code, c.operand), c.unit);
  GpsValues gps;
  gps.flags = c.flags;
  gps.speed = c.value;
  EXPECT_EQ(condition.Evaluate(MakeRecord(gps).Get()), c.expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, AltitudeTest, testing::ValuesIn(kAltitudeCases),
                         [](const auto& i) { return std::string(i.param.name); });
INSTANTIATE_TEST_SUITE_P(Cases, SpeedTest, testing::ValuesIn(kSpeedCases),
                         [](const auto& i) { return std::string(i.param.name); });

// ---- metadata ----

struct MetadataCase {
  const char* name;
  bool has;
  USHORT mask;
  USHORT flags;
  HRESULT expected;
};

const MetadataCase kMetadataCases[] = {
    {"HasPosition", true, kPos, kPos | kAlt, S_OK},
    {"HasAltitudeMissing", true, kAlt, kPos, S_FALSE},
    {"HasAnyOfTwo", true, kAlt | kSpd, kSpd, S_OK},
    {"HasNotAltitude", false, kAlt, kPos, S_OK},
    {"HasNotAnyOfTwoFails", false, kAlt | kSpd, kSpd, S_FALSE},
    {"DirectionEitherReference", true, kMag | kTrue, kMag, S_OK},
    {"HighBitIgnored", true, 0x80, 0x80, S_FALSE},
    {"HighBitIgnoredWhenAbsentWanted", false, 0x80, 0x80, S_OK},
};

class MetadataTest : public testing::TestWithParam<MetadataCase> {};

TEST_P(MetadataTest, Evaluates) {
  const MetadataCase& c = GetParam();
  CGpsMetadataCondition condition;
  condition.Set(c.has, c.mask);
  GpsValues gps;
  gps.flags = c.flags;
  EXPECT_EQ(condition.Evaluate(MakeRecord(gps).Get()), c.expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, MetadataTest, testing::ValuesIn(kMetadataCases),
                         [](const auto& i) { return std::string(i.param.name); });

// ---- direction ----

// A place with a large easterly declination in 2020 (about 15 degrees), for the reference tests.
constexpr double kAlaskaLat = 64.8;
constexpr double kAlaskaLon = -147.7;

struct DirectionCase {
  const char* name;
  unsigned wanted;
  unsigned tolerance;
  bool magneticCondition;
  USHORT flags;
  // The image direction: fixed, or the wanted direction shifted by the declination times
  // declinationFactor (the conversion tests).
  float direction;
  double declinationFactor;
  HRESULT expected;
};

const DirectionCase kDirectionCases[] = {
    {"InsideTolerance", 90, 5, false, kTrue, 93.0f, 0, S_OK},
    {"LowerEdgeWithMarginIncluded", 90, 5, false, kTrue, 84.5f, 0, S_OK},
    {"BelowLowerEdge", 90, 5, false, kTrue, 84.4f, 0, S_FALSE},
    {"UpperEdgeWithMarginOpen", 90, 5, false, kTrue, 95.5f, 0, S_FALSE},
    {"JustBelowUpperEdge", 90, 5, false, kTrue, 95.4f, 0, S_OK},
    {"WrapThroughNorth", 2, 5, false, kTrue, 359.0f, 0, S_OK},
    {"WrapThroughNorthTooFar", 2, 5, false, kTrue, 356.0f, 0, S_FALSE},
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
};

class DirectionTest : public testing::TestWithParam<DirectionCase> {};

TEST_P(DirectionTest, Evaluates) {
  const DirectionCase& c = GetParam();
  CGpsDirectionCondition condition;
  condition.SetWord(CGpsDirectionCondition::Pack(c.wanted, c.tolerance, c.magneticCondition));
  GpsValues gps;
  gps.flags = c.flags;
  gps.latitude = kAlaskaLat;
  gps.longitude = kAlaskaLon;
  gps.dateTaken = kJune2020;
  const double declination = MagneticDeclination(kAlaskaLat, kAlaskaLon, kJune2020Year);
  ASSERT_GT(declination, 10.0);
  gps.direction = static_cast<float>(c.direction + c.declinationFactor * declination);
  EXPECT_EQ(condition.Evaluate(MakeRecord(gps).Get()), c.expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, DirectionTest, testing::ValuesIn(kDirectionCases),
                         [](const auto& i) { return std::string(i.param.name); });

TEST(DirectionReference, NegativeResultBecomes360MinusIt) {
  // Wanted 2 degrees true on a magnetic image where δ ≈ 15: 2 − δ < 0 becomes 360 − (2 − δ),
  // about 373, not 347; the image direction 347 (where the camera really pointed) is not met.
  CGpsDirectionCondition condition;
  condition.SetWord(CGpsDirectionCondition::Pack(2, 3, false));
  GpsValues gps;
  gps.flags = kPos | kMag;
  gps.latitude = kAlaskaLat;
  gps.longitude = kAlaskaLon;
  gps.dateTaken = kJune2020;
  const double declination = MagneticDeclination(kAlaskaLat, kAlaskaLon, kJune2020Year);
  gps.direction = static_cast<float>(360 + 2 - declination);
  EXPECT_EQ(condition.Evaluate(MakeRecord(gps).Get()), S_FALSE);
  EXPECT_DOUBLE_EQ(ConvertDirectionReference(2, 15, false), 373);
  EXPECT_DOUBLE_EQ(ConvertDirectionReference(350, 15, true), 5);
}

// ---- position ----

constexpr double kImageLat = 48.0;
constexpr double kImageLon = 2.0;

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
  double imageLat;
  double imageLon;
  CGpsPositionCondition::Parameters params;
  float direction;
  HRESULT expected;
};

CGpsPositionCondition::Parameters Within(double lat, double lon, double distance,
                                         std::uint16_t unit, bool farther = false,
                                         bool pointing = false, std::int8_t tolerance = 5) {
  CGpsPositionCondition::Parameters p;
  p.target = {lat, lon};
  p.distance = distance;
  p.unit = unit;
  p.fartherThan = farther;
  p.pointing = pointing;
  p.tolerance = tolerance;
  return p;
}

std::vector<PositionCase> PositionCases() {
  const double oneKmNorth = LatitudeAtDistance(1000);
  using C = CGpsPositionCondition;
  return {
      {"WithinOneKmHolds", kPos, kImageLat, kImageLon,
       Within(oneKmNorth, kImageLon, 1, C::kKilometres), 0, S_OK},
      {"FartherThanOneKmFails", kPos, kImageLat, kImageLon,
       Within(oneKmNorth, kImageLon, 1, C::kKilometres, true), 0, S_FALSE},
      {"WithinSlightlyLessFails", kPos, kImageLat, kImageLon,
       Within(oneKmNorth, kImageLon, 999.99, C::kMetres), 0, S_FALSE},
      {"FartherThanSlightlyLessHolds", kPos, kImageLat, kImageLon,
       Within(oneKmNorth, kImageLon, 999.99, C::kMetres, true), 0, S_OK},
      {"MilesUnit", kPos, kImageLat, kImageLon, Within(oneKmNorth, kImageLon, 0.622, C::kMiles), 0,
       S_OK},
      {"NauticalMilesUnit", kPos, kImageLat, kImageLon,
       Within(oneKmNorth, kImageLon, 0.539, C::kNauticalMiles), 0, S_FALSE},
      {"UnknownUnitIsZeroDistance", kPos, kImageLat, kImageLon, Within(oneKmNorth, kImageLon, 5, 9),
       0, S_FALSE},
      {"MissingPositionBitFails", 0, kImageLat, kImageLon,
       Within(kImageLat, kImageLon, 1, C::kKilometres), 0, E_FAIL},
      {"LatitudeMinusOneIsMissing", kPos, -1.0, kImageLon,
       Within(kImageLat, kImageLon, 1, C::kKilometres), 0, E_FAIL},
      {"LongitudeMinusOneIsMissing", kPos, kImageLat, -1.0,
       Within(kImageLat, kImageLon, 1, C::kKilometres), 0, E_FAIL},
      {"WrappedTargetLongitude", kPos, kImageLat, kImageLon,
       Within(kImageLat, kImageLon + 360, 1, C::kMetres), 0, S_OK},
      {"AcrossDateLine", kPos, 0.0, 179.9995, Within(0.0, -179.9995, 112, C::kMetres), 0, S_OK},
      {"NearAntipodeWithinNeverHolds", kPos, 0.0, 0.0, Within(0.5, 179.7, 100000, C::kKilometres),
       0, S_FALSE},
      {"NearAntipodeFartherNeverHolds", kPos, 0.0, 0.0, Within(0.5, 179.7, 0, C::kMetres, true), 0,
       S_FALSE},
      {"PointingAtTarget", kPos | kTrue, kImageLat, kImageLon,
       Within(oneKmNorth, kImageLon, 2, C::kKilometres, false, true), 3.0f, S_OK},
      {"PointingWrapsThroughNorth", kPos | kTrue, kImageLat, kImageLon,
       Within(oneKmNorth, kImageLon, 2, C::kKilometres, false, true), 357.0f, S_OK},
      {"PointingAway", kPos | kTrue, kImageLat, kImageLon,
       Within(oneKmNorth, kImageLon, 2, C::kKilometres, false, true), 180.0f, S_FALSE},
      {"PointingWithoutDirection", kPos, kImageLat, kImageLon,
       Within(oneKmNorth, kImageLon, 2, C::kKilometres, false, true), 0.0f, S_FALSE},
      {"PointingNotCheckedWhenTooFar", kPos | kTrue, kImageLat, kImageLon,
       Within(oneKmNorth, kImageLon, 0.5, C::kKilometres, false, true), 0.0f, S_FALSE},
  };
}

class PositionTest : public testing::TestWithParam<PositionCase> {};

TEST_P(PositionTest, Evaluates) {
  const PositionCase& c = GetParam();
  CGpsPositionCondition condition;
  condition.SetParameters(c.params);
  GpsValues gps;
  gps.flags = c.flags;
  gps.latitude = c.imageLat;
  gps.longitude = c.imageLon;
  gps.direction = c.direction;
  EXPECT_EQ(condition.Evaluate(MakeRecord(gps).Get()), c.expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, PositionTest, testing::ValuesIn(PositionCases()),
                         [](const auto& i) { return std::string(i.param.name); });

TEST(PositionPointing, MagneticDirectionIsCorrectedByDeclination) {
  // Looking due south at a target 2 km away, with a compass reading that needs the declination.
  CGpsPositionCondition condition;
  CGpsPositionCondition::Parameters p;
  p.target = {kAlaskaLat - 0.018, kAlaskaLon};
  p.distance = 3;
  p.unit = CGpsPositionCondition::kKilometres;
  p.pointing = true;
  p.tolerance = 2;
  condition.SetParameters(p);
  GpsValues gps;
  gps.flags = kPos | kMag;
  gps.latitude = kAlaskaLat;
  gps.longitude = kAlaskaLon;
  gps.timeStamp = kJune2020;
  const double declination = MagneticDeclination(kAlaskaLat, kAlaskaLon, kJune2020Year);
  gps.direction = static_cast<float>(180 - declination);
  EXPECT_EQ(condition.Evaluate(MakeRecord(gps).Get()), S_OK);
  gps.direction = 180.0f;  // the reading taken as true north misses by the declination
  EXPECT_EQ(condition.Evaluate(MakeRecord(gps).Get()), S_FALSE);
}

// ---- common steps ----

TEST(GpsConditions, NullRecordAndMissingFlags) {
  CGpsAltitudeCondition altitude;
  CGpsPositionCondition position;
  CGpsDirectionCondition direction;
  CGpsMetadataCondition metadata;
  metadata.Set(true, kPos);
  CGpsSpeedCondition speed;
  const CCondition* all[] = {&altitude, &position, &direction, &metadata, &speed};
  ComPtr<IDictionary> empty = MakeDictionary();
  for (const CCondition* condition : all) {
    const std::wstring key = condition->Key();
    SCOPED_TRACE(std::string(key.begin(), key.end()));
    EXPECT_EQ(condition->Evaluate(nullptr), E_INVALIDARG);
    EXPECT_EQ(condition->Evaluate(empty.Get()), E_FAIL);
  }
}

TEST(GpsConditions, FlagsThatDoNotFitSixteenBitsFailTheCoercion) {
  ComPtr<IDictionary> record = MakeRecord(GpsValues{});
  ThrowIfFailed(record->put_Value(Bstr(L"Meta.GPS.Flags").get(), Variant::I4(70000).ref()));
  CGpsMetadataCondition metadata;
  metadata.Set(true, kPos);
  EXPECT_EQ(metadata.Evaluate(record.Get()), DISP_E_OVERFLOW);
}

}  // namespace
}  // namespace lmk
