// lumarko place: reads a place from text as the rule editor's paste does (a coordinate pair or a
// map address) and prints its latitude and longitude in the form rule-set files take.
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "cli/subcommands.h"
#include "conditions/place_parser.h"
#include "platform/text_encoding.h"
#include "rules/param_codec.h"

namespace lmk::cli {
namespace {

struct PlaceOptions {
  std::vector<std::string> words;
};

int RunPlace(const PlaceOptions& options) {
  // The words are joined again, so that "46.2, 6.1" may be given unquoted.
  std::string text;
  for (const std::string& word : options.words) {
    if (!text.empty()) text += ' ';
    text += word;
  }
  const std::optional<GeoPlace> place = ParseClipboardPlace(FromUtf8(text));
  if (!place) {
    // The message is the rule editor's, word for word.
    std::fprintf(stderr, "%s\n", ToUtf8(kPlaceNotRecognizedMessage).c_str());
    return kExitFailure;
  }
  std::printf("%s\n", ToUtf8(FormatPlace(*place)).c_str());
  return kExitSuccess;
}

}  // namespace

Runner SetupPlace(CLI::App& app) {
  auto options = std::make_shared<PlaceOptions>();
  CLI::App* command = app.add_subcommand(
      "place",
      "read a place from a coordinate pair or a map address; print \"latitude, longitude\"");
  command->add_option("text", options->words, "the coordinate pair or the map address")->required();
  return [options] { return RunPlace(*options); };
}

}  // namespace lmk::cli
