#include "oxbow/CommandLine.h"

#include "base/Version.h"
#include "oxbow/ErrorLine.h"
#include "oxbow/NumberText.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <functional>
#include <limits>
#include <sstream>
#include <string_view>

namespace fw {
namespace {

constexpr const char* kMovie = "movie";
constexpr std::int64_t kHighestLevel = 1023;
constexpr std::int64_t kHighestSensitivity = 10;

/// Adds an option whose text `take` turns into a setting; it refuses by returning false.
void addTextOption(CLI::App& app, const std::string& name, const std::string& value,
                   const std::string& description, const std::string& form,
                   std::function<bool(const std::string&)> take) {
    app.add_option_function<std::string>(
           name,
           [name, form, take = std::move(take)](const std::string& text) {
               if (!take(text)) {
                   throw CLI::ValidationError(name, "\"" + text + "\" is not " + form + ".");
               }
           },
           description)
        ->type_name(value);
}

void addRangePoint(CLI::App& app, const std::string& name, const std::string& description,
                   std::optional<RangePoint>& into) {
    addTextOption(app, name, "WHERE", description,
                  "a frame (250), seconds (12.5s) or a timecode (01:00:00:00)",
                  [&into](const std::string& text) {
                      into = parsedRangePoint(text);
                      return into.has_value();
                  });
}

template <typename Number>
void addNumber(CLI::App& app, const std::string& name, const std::string& value,
               const std::string& description, std::int64_t highest, Number& into) {
    const std::string form = highest == std::numeric_limits<std::int64_t>::max()
                                 ? "a whole number"
                                 : "a whole number from 0 to " + std::to_string(highest);
    addTextOption(app, name, value, description, form, [&into, highest](const std::string& text) {
        const std::optional<std::int64_t> number = wholeNumber(text);
        if (!number || *number > highest) {
            return false;
        }
        into = *number;
        return true;
    });
}

void addDepth(CLI::App& app, std::optional<int>& into) {
    addTextOption(app, "--depth", "auto|8|10",
                  "Bits a sample is examined with; auto, the default, is 10 when the movie has "
                  "more than 8",
                  "auto, 8 or 10", [&into](const std::string& text) {
                      into.reset();
                      if (text == "8" || text == "10") {
                          into = text == "8" ? 8 : 10;
                      }
                      return into || text == "auto";
                  });
}

void addAspectRatio(CLI::App& app, std::optional<double>& into) {
    addTextOption(app, "--aspect", "RATIO",
                  "The picture's, 2.39 or 16:9: checks that the mattes around it are black and "
                  "no larger than they must be",
                  "a ratio like 2.39 or 16:9", [&into](const std::string& text) {
                      into = aspectRatio(text);
                      return into.has_value();
                  });
}

void addRangeOptions(CLI::App& scan, ScanSettings& settings) {
    addRangePoint(scan, "--start",
                  "The first frame: its number (250), seconds (12.5s) or a timecode of the movie",
                  settings.start);
    addRangePoint(scan, "--end", "The frame to end before", settings.end);
}

void addLevelOptions(CLI::App& scan, ScanSettings& settings) {
    addNumber(scan, "--black", "LEVEL", "Lowest legal luma code [16, or 64 at 10 bits]",
              kHighestLevel, settings.black);
    addNumber(scan, "--white", "LEVEL", "Highest legal luma code [235, or 940 at 10 bits]",
              kHighestLevel, settings.white);
    scan.add_flag_callback(
        "--no-luma", [&settings] { settings.checksLuma = false; }, "Do not check levels");
}

void addFlashOptions(CLI::App& scan, ScanSettings& settings) {
    scan.add_flag_callback(
        "--no-flash", [&settings] { settings.checksFlashes = false; },
        "Do not look for flash frames");
    addNumber(scan, "--flash-length", "FRAMES", "Longest flash [4]",
              std::numeric_limits<std::int64_t>::max(), settings.flashLength);
    addNumber(scan, "--flash-sensitivity", "0-10", "Higher looks for smaller changes [5]",
              kHighestSensitivity, settings.flashSensitivity);
}

void addScanOptions(CLI::App& scan, ScanRequest& request) {
    scan.add_option(kMovie, request.settings.movie, "The movie to scan")
        ->required()
        ->type_name("MOVIE");
    addRangeOptions(scan, request.settings);
    addDepth(scan, request.settings.depth);
    addLevelOptions(scan, request.settings);
    addFlashOptions(scan, request.settings);
    addAspectRatio(scan, request.settings.aspectRatio);
    scan.add_flag("--json", request.isJson, "Print one JSON document instead of text");
    scan.add_flag("--verbose", request.isVerbose, "Show what the scanner says about its work");
}

std::string capturedExit(const CLI::App& app, const CLI::ParseError& error) {
    std::ostringstream text;
    app.exit(error, text, text);
    return text.str();
}

/// What people mean when they leave out what must be there.
std::string hintFor(const CLI::ParseError& error) {
    if (error.get_exit_code() != static_cast<int>(CLI::ExitCodes::RequiredError)) {
        return "";
    }
    const bool isMovie = std::string_view(error.what()).starts_with(kMovie);
    return isMovie ? "; one whose name begins with - goes behind --" : ": scan or demo";
}

Advice adviceFor(const CLI::App& app, const CLI::ParseError& error) {
    const bool isHelp = error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success);
    if (isHelp) {
        return {ExitStatus::kNoFaults, capturedExit(app, error)};
    }
    return {ExitStatus::kUsage,
            fmt::format("oxbow: {}{}\nRun oxbow --help, or oxbow scan --help.\n",
                        errorLine(error.what()), hintFor(error))};
}

} // namespace

Request parsedCommandLine(const std::vector<std::string>& arguments) {
    CLI::App app("Finds picture faults in movies, frame by frame.", "oxbow");
    app.footer("Exit status: 0 no faults, 1 faults, 2 scan incomplete, 3 movie cannot be opened,\n"
               "4 internal or output error, 64 wrong arguments.");
    app.require_subcommand(1);
    app.set_version_flag("--version", fmt::format("oxbow {}", projectVersion()));

    ScanRequest scanRequest;
    CLI::App& scan = *app.add_subcommand("scan", "Scan a movie and show what is found");
    addScanOptions(scan, scanRequest);

    DemoRequest demoRequest;
    CLI::App& demo =
        *app.add_subcommand("demo", "Make a small movie with known faults, scan it, and compare");
    demo.add_flag("--verbose", demoRequest.isVerbose, "Show what the scanner says about its work");

    try {
        // It takes them from the back.
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::ParseError& error) {
        return adviceFor(app, error);
    }
    if (demo.parsed()) {
        return demoRequest;
    }
    return scanRequest;
}

} // namespace fw
