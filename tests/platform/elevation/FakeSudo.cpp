#include "tests/platform/elevation/FakeSudo.h"

#include "tests/support/FileText.h"

#include <filesystem>
#include <sstream>
#include <utility>

namespace fw::test {
namespace {

namespace fs = std::filesystem;

constexpr const char* kRecord = R"(#!/bin/sh
folder="${0%/*}"
call="${0##*/}"
for argument; do call="$call [$argument]"; done
printf '%s\n' "$call" >>"$folder/calls"
env >>"$folder/environments"
)";

constexpr const char* kSudo = R"(
may() { [ ! -e "$folder/no-right" ]; }
authenticate() { [ -e "$folder/asks-nobody" ] || { IFS= read -r line && [ "$line" = "$password" ]; }; }
start() {
    exec 3<&0 # A shell takes the standard input away from what it leaves to run.
    "$@" <&3 3<&- &
}
case "$1 $2" in
"-k ") rm -f "$folder/ticket" ;;
"-v " | "-A -v") [ -e "$folder/answers" ] && : >"$folder/ticket" ;;
"-n -v") [ -e "$folder/ticket" ] ;;
"-n -l") [ -e "$folder/ticket" ] && may ;;
"-n -b") [ -e "$folder/ticket" ] && may && shift 3 && start "$@" ;;
"-S -p") authenticate && : >"$folder/ticket" ;;
"-S -k")
    authenticate || exit 1
    [ "$5" = -v ] && exit 0
    may || exit 1
    case "$5" in
    -l) ;;
    -b) shift 6 && start "$@" ;;
    esac ;;
*) exit 99 ;;
esac
)";

/// -s /bin/sh -c COMMAND -- NAME sh SUDO...
constexpr const char* kSu = R"(
IFS= read -r line && [ "$line" = "$password" ] || exit 1
shift 6
exec /bin/sh -c 'exec "$@"' "$@"
)";

void makeScript(const std::string& path, const std::string& body) {
    const std::string password =
        std::string("password='").append(FakeSudo::kPassword).append("'\n");
    writeText(path, kRecord + password + body);
    fs::permissions(path, fs::perms::owner_all);
}

} // namespace

FakeSudo::FakeSudo() {
    makeScript(file("sudo"), kSudo);
    makeScript(file("su"), kSu);
    before_ = setStandInTools({{"/usr/bin/sudo", file("sudo")}, {"/bin/su", file("su")}});
}

FakeSudo::~FakeSudo() {
    setStandInTools(std::move(before_));
}

std::vector<std::string> FakeSudo::calls() {
    std::vector<std::string> lines;
    std::istringstream record(readText(file("calls")));
    for (std::string line; std::getline(record, line);) {
        lines.push_back(line);
    }
    const auto first = lines.begin() + static_cast<std::ptrdiff_t>(callsTold_);
    callsTold_ = lines.size();
    return {first, lines.end()};
}

std::string FakeSudo::everythingSeen() const {
    return readText(file("calls")) + readText(file("environments"));
}

bool FakeSudo::hasTicket() const {
    return fs::exists(file("ticket"));
}

void FakeSudo::giveTicket() const {
    writeText(file("ticket"), "");
}

void FakeSudo::takeTicket() const {
    fs::remove(file("ticket"));
}

void FakeSudo::withholdRight() const {
    writeText(file("no-right"), "");
}

void FakeSudo::askNobody() const {
    writeText(file("asks-nobody"), "");
}

void FakeSudo::answerPrompts() const {
    writeText(file("answers"), "");
}

void FakeSudo::uninstall(const std::string& program) const {
    fs::remove(file(program));
}

} // namespace fw::test
