#include "app/usage.h"

#include "logs/run_options.h"

namespace tarnlex {
namespace {

constexpr const char* kRule =
    "-----------------------------------------------------------------------------\n\n";

// clang-format off
constexpr const char* kOptions =
    "Usage:\n"
    "\n"
    "  tarnlex -log \"log1 | log2 | ..\"   = pull data from extracted logs\n"
    "  tarnlex -livesys                  = pull data from the running OS\n"
    "  tarnlex -vss <num>                = pull data from Volume Shadow \n"
    "  tarnlex -partition <drive letter> = requires volume to be traversable\n"
    "  dir c:\\somedir\\*.evtx /b /s | tarnlex -pipe\n"
    "\n"
    " Report options\n"
    "  -pw                    = pull password changes [security log]\n"
    "  -time                  = pull clock changes or updates [security logs]\n"
    "  -logon                 = pull logons [security log]\n"
    "  -startstop             = pull system start/stop times [system log]\n"
    "  -creds                 = pull credential changes [security log]\n"
    "  -usb                   = pull usb events [system & DriverFrameworks]\n"
    "  -cmdfile <filename>    = custom report defined by cmd file\n"
    "\n"
    " Processing options\n"
    "  -pipe                  = pipe files into tarnlex for processing\n"
    "  -quiet                 = don't display status during run\n"
    "\n"
    " Filter options\n"
    "  -eventid \"id1, id2, .\" = \n"
    "  -string <substring>    = \n"
    "  -start_time <time UTC> = time in \"MM/DD/YYYY HH:MM:SS\" format\n"
    "  -stop_time <time UTC>  = time in \"MM/DD/YYYY HH:MM:SS\" format\n"
    "\n"
    " Basic options\n"
    "  -csv                   = output in comma separated value format\n"
    "  -csvl2t                = log2timeline output  [needs validation]\n"
    "  -bodyfile [-allparams] = sleuthkit output  [needs validation]\n"
    "\n"
    " Additional options\n"
    "  -dateformat yyyy/mm/dd = \"mm/dd/yyyy\" is the default\n"
    "  -timeformat hh:mm:ss   = \"hh:mm:ss.xxx\" is the default\n"
    "  -pair_datetime         = combine date/time into 1 field for csv\n"
    "  -no_whitespace         = remove whitespace between csv delimiter\n"
    "  -csv_separator \"|\"     = use a pipe char for csv separator\n"
    "  -stats <file>          = generate summary statistics\n";
// clang-format on

}  // namespace

std::string Banner() { return std::string(kProgramName) + " " + kVersion; }

bool WantsHelp(const Arguments& args) {
  if (args.size() <= 1) return true;
  for (const char* name : {"-h", "-help", "/?", "--help"}) {
    if (HasFlag(name, args)) return true;
  }
  return false;
}

std::string UsageText() {
  return std::string(kRule).append(Banner()).append("\n\n").append(kOptions);
}

}  // namespace tarnlex
