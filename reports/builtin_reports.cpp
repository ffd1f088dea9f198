// The built-in reports as data: which logs they are for and the exact texts of their lines, labels
// and oddities included, since what was found with a report must be found with it again.
#include "reports/builtin_reports.h"

namespace tarnlex {
namespace {

constexpr LogFormat kEvt = LogFormat::EVT;
constexpr LogFormat kEvtx = LogFormat::EVTX;
constexpr bool kAllData = true;
constexpr bool kPulls = false;

// One query a line: format, event id, name, condition, what is taken, pulled values.
// clang-format off

constexpr BuiltinQuery kPassword[] = {
    {kEvt, 518, "A notification was loaded", "", kPulls, "1|Notification Package Name"},
    {kEvt, 627, "Change Password Attempt", "", kPulls, "1|Target Account Name, 2|Target Domain, 3|Target Account ID, 4|Caller UserName, 5|Caller Domain, 6|Caller Logon ID, 7|Privileges"},
    {kEvt, 628, "User Account Password Set ", "", kPulls, "1|Target Account Name, 2|Target Domain, 3|Target Account ID, 4|Caller UserName, 5|Caller Domain, 6|Caller Logon ID"},
    {kEvt, 642, "A user account was changed", "", kPulls, "2|Target Account Name, 3|Target Domain, 4|Target Account ID, 5|Caller UserName, 6|Caller Domain, 7|Caller Logon ID, 8|Privileges, 9|SAM Account Name, 10|Display Name, 11|User Principal Name, 12|Home Directory, 13|Home Drive, 14|Script Path, 15|Profile Path, 16|User Workstations, 17|Password Last Set"},
    {kEvtx, 4614, "A notification was loaded", "", kAllData, ""},
    {kEvtx, 4723, "Attempt was made to change an account's password", "", kAllData, ""},
    {kEvtx, 4724, "Attempt was made to reset an account's password", "", kAllData, ""},
    {kEvtx, 4738, "A user account was changed", "", kAllData, ""},
};

constexpr BuiltinQuery kTime[] = {
    {kEvt, 520, "The System Time was Changed", "", kPulls, "1|Process ID, 2|Process Name, 3|Primary User Name, 4|Primary Domain, 5|Primary Logon ID, 6|Client UserName, 7|Client Domain, 8|Client Logon ID, 10|Previous Date, 9|Previous Time, 12|New Date, 11|New Time"},
    {kEvt, 577, "Service attempted to change Time", "string|SeSystemtimePrivilege", kPulls, "1|Server, 2|Service, 3|Primary UserName, 4|Primary Domain, 5|Primary Logon ID, 6|Client UserName, 7|Client Domain, 8|Client Logon ID, 9|Privileges"},
    {kEvt, 578, "Service changed Time", "string|SeSystemtimePrivilege", kPulls, "1|Object Server, 2|Object Handle, 3|Process ID, 4|Primary UserName, 5|Primary Domain, 6|Primary Logon ID, 7|Client userName, 8|Client Domain, 9|ClientLogon ID, 10|Privileges"},
    {kEvtx, 4616, "The System Time was Changed", "", kAllData, ""},
    {kEvtx, 4673, "Service attempted to change Time", "PrivilegeList|SeSystemtimePrivilege", kAllData, ""},
    {kEvtx, 4674, "Service changed Time", "PrivilegeList|SeSystemtimePrivilege", kAllData, ""},
};

constexpr BuiltinQuery kLogon[] = {
    {kEvt, 528, "logon", "", kPulls, "1|UserName, 2|Domain, 3|Logon ID, 4|Logon Type, 5|Logon Process, 6|Authentication Package, 7|Workstation Name, 8|LogonGUID, 9|Caller Username, 10|Caller Domain, 11|Caller Logon ID, 12|Caller Process ID, 13|Transited Services, 14|Source Network Address, 15|Source Port"},
    {kEvt, 529, "logon/failed [unk user name or bad password]", "", kPulls, "1|UserName, 2|Domain, 3|Logon Type, 4|Logon Process, 5|Authentication Package, 6|Workstation Name, 7|Caller Username, 8|Caller Domain, 9|Caller Logon ID, 10|Caller Process ID, 11|Transited Services, 12|Source Network Address, 13|Source Port"},
    {kEvt, 530, "logon/failed [time restriction violation]", "", kPulls, "1|UserName, 2|Domain, 3|Logon Type, 4|Logon Process, 5|Authentication Package, 6|Workstation Name, 7|Caller Username, 8|Caller Domain, 9|Caller Logon ID, 10|Caller Process ID, 11|Transited Services, 12|Source Network Address, 13|Source Port"},
    {kEvt, 531, "logon/failed [acct disabled]", "", kPulls, "1|UserName, 2|Domain, 3|Logon Type, 4|Logon Process, 5|Authentication Package, 6|Workstation Name, 7|Caller Username, 8|Caller Domain, 9|Caller Logon ID, 10|Caller Process ID, 11|Transited Services, 12|Source Network Address, 13|Source Port"},
    {kEvt, 532, "logon/failed [acct expired]", "", kPulls, "1|UserName, 2|Domain, 3|Logon Type, 4|Logon Process, 5|Authentication Package, 6|Workstation Name, 7|Caller Username, 8|Caller Domain, 9|Caller Logon ID, 10|Caller Process ID, 11|Transited Services, 12|Source Network Address, 13|Source Port"},
    {kEvt, 533, "logon/failed [User Not allowed to Logon at this Computer]", "", kPulls, "1|UserName, 2|Domain, 3|Logon Type, 4|Logon Process, 5|Authentication Package, 6|Workstation Name, 7|Caller Username, 8|Caller Domain, 9|Caller Logon ID, 10|Caller Process ID, 11|Transited Services, 12|Source Network Address, 13|Source Port"},
    {kEvt, 534, "logon/failed [user has not been granted the logon type at this machine]", "", kPulls, "1|UserName, 2|Domain, 3|Logon Type, 4|Logon Process, 5|Authentication Package, 6|Workstation Name, 7|Caller Username, 8|Caller Domain, 9|Caller Logon ID, 10|Caller Process ID, 11|Transited Services, 12|Source Network Address, 13|Source Port"},
    {kEvt, 535, "logon/failed [acct password expired]", "", kPulls, "1|UserName, 2|Domain, 3|Logon Type, 4|Logon Process, 5|Authentication Package, 6|Workstation Name, 7|Caller Username, 8|Caller Domain, 9|Caller Logon ID, 10|Caller Process ID, 11|Transited Services, 12|Source Network Address, 13|Source Port"},
    {kEvt, 536, "logon/failed [NetLogon component not active]", "", kPulls, "1|UserName, 2|Domain, 3|Logon Type, 4|Logon Process, 5|Authentication Package, 6|Workstation Name, 7|Caller Username, 8|Caller Domain, 9|Caller Logon ID, 10|Caller Process ID, 11|Transited Services, 12|Source Network Address, 13|Source Port"},
    {kEvt, 537, "logon/failed [Error occurred during logon]", "", kPulls, "1|UserName, 2|Domain, 3|Logon Type, 4|Logon Process, 5|Authentication Package, 6|Workstation Name, 7|StatusCode, 8|Substatus Code, 9|Caller Username, 10|Caller Domain, 11|Caller Logon ID, 12|Caller Process ID, 13|Transited Services, 14|Source Network Address, 15|Source Port"},
    {kEvt, 538, "logoff", "", kPulls, "1|UserName, 2|Domain, 3|Logon ID, 4|Logon Type"},
    {kEvt, 539, "logon/failed [acct locked out]", "", kPulls, "1|UserName, 2|Domain, 3|Logon Type, 4|Logon Process, 5|Authentication Package, 6|Workstation Name, 7|Caller Username, 8|Caller Domain, 9|Caller Logon ID, 10|Caller Process ID, 11|Transited Services, 12|Source Network Address, 13|Source Port"},
    {kEvt, 540, "logon/network", "", kPulls, "1|UserName, 2|Domain, 3|Logon ID, 4|Logon Type, 5|Logon Process, 6|Authentication Package, 7|Workstation Name, 8|LogonGUID, 9|Caller Username, 10|Caller Domain, 11|Caller Logon ID, 12|Caller Process ID, 13|Transited Services, 14|Source Network Address, 15|Source Port"},
    {kEvt, 552, "logon/RunAs", "", kPulls, "1|UserName, 2|Domain, 3|Logon ID, 4|Logon Guid, 5|Target Username (creds used), 6|Target Domain, 7|Target GUID, 8|Server name, 9|Server Info, 10|Caller ProcID, 11|Caller Source Network Address, 12|Source Port"},
    {kEvtx, 4624, "logon/interactive", "LogonType|2", kAllData, ""},
    {kEvtx, 4624, "logon/network", "LogonType|3", kAllData, ""},
    {kEvtx, 4624, "logon/batch", "LogonType|4", kAllData, ""},
    {kEvtx, 4624, "logon/service", "LogonType|5s", kAllData, ""},
    {kEvtx, 4624, "logon/unlock", "LogonType|7", kAllData, ""},
    {kEvtx, 4624, "logon/NetworkClearText", "LogonType|8", kAllData, ""},
    {kEvtx, 4624, "logon/NewCredentials", "LogonType|9", kAllData, ""},
    {kEvtx, 4624, "logon/RemoteInteractive", "LogonType|10", kAllData, ""},
    {kEvtx, 4624, "logon/CachedInteractive", "LogonType|11", kAllData, ""},
    {kEvtx, 4625, "logon/failed", "", kAllData, ""},
    {kEvtx, 4634, "logoff", "", kAllData, ""},
    {kEvtx, 4648, "logon/RunAs", "", kAllData, ""},
};

constexpr BuiltinQuery kStartStop[] = {
    {kEvt, 528, "reboot or shutdown", "string|winlogon.exe", kPulls, ""},
    {kEvt, 12, "startup", "", kPulls, ""},
    {kEvt, 13, "shutdown", "", kPulls, ""},
    {kEvt, 42, "sleep", "", kPulls, ""},
    {kEvt, 1, "resume", "string|cdc05e28-c449-49c6-b9d2-88cf761644df", kPulls, ""},
    {kEvtx, 1074, "reboot or shutdown", "Data|winlogon.exe", kAllData, ""},
    {kEvtx, 12, "startup", "", kAllData, "MajorVersion, MinorVersion, BuildVersion"},
    {kEvtx, 13, "shutdown", "", kAllData, ""},
    {kEvtx, 42, "sleep", "", kAllData, ""},
    {kEvtx, 1, "resume", "Provider Guid|cdc05e28-c449-49c6-b9d2-88cf761644df", kAllData, ""},
};

constexpr BuiltinQuery kCredentials[] = {
    {kEvt, 576, "Special Privileges assigned to new logon", "", kPulls, "1|UserName, 2|Domain, 3|Logon ID, 4|Assigned Privileges"},
    {kEvt, 608, "User Right was assigned", "", kPulls, "1|User Right, 2|Assigned To, 3|by User Name, 3|by Domain, 5|by Logon ID"},
    {kEvt, 609, "User Right was removed", "", kPulls, "1|User Right, 2|Removed From, 3|by User Name, 4|by Domain, 5|by Logon ID"},
    {kEvt, 621, "System Security Access was granted to an account", "", kPulls, "4|Access Granted, 5|acct Modified, 1|Assigned By UserName, 2|Assigned By Domain, 3|Assigned By Logon ID"},
    {kEvt, 622, "System Security Access was removed from an account", "", kPulls, "4|Access Removed, 5|acct Modified, 1|Removed By UserName, 2|Removed By Domain, 3|Removed By Logon ID"},
    {kEvt, 624, "User acct was created", "", kPulls, "1|New acct Name, 2|New Domain, 3|New acct ID, 4|Caller UserName, 5|Caller Domain, 6|Caller Logon ID, 7|Privileges, 8|Sam acct Name, 9|Display Name, 10|User Principal Name, 11|Home Directory, 12|Home Drive, 13|Script Path, 14|Profile Path, 15|user Workstations, 16|Password Last Set, 17|acct Expires, 18|Primary Group ID, 19|Allowed To Delegate To, 20|Old UAC Value, 21|New UAC Value, 22|user acct Control, 23|User Parameters, 24|Sid History, 25|Logon Hours"},
    {kEvt, 626, "User acct was enabled", "", kPulls, "1|Target acct Name, 2|Target Domain, 3|Target acct ID, 4|Caller UserName, 5|Caller Domain, 6|CallerLogonID"},
    {kEvt, 629, "user acct was disabled", "", kPulls, "-pull, 2|Target Domain, 3|Target acct ID, 4|Caller UserName, 5|Caller Domain, 6|CallerLogonID"},
    {kEvt, 630, "User acct was deleted", "", kPulls, "1|Target acct Name, 2|Target Domain, 3|Target acct ID, 4|Caller UserName, 5|Caller Domain, 6|Caller Logon ID, 7|Privileges"},
    {kEvt, 642, "User acct was changed", "", kPulls, "2|Target acct Name, 3|Target Domain, 4|Target acct ID, 5|Caller UserName, 6|Caller Domain, 7|Caller Logon ID, 8|Privileges, 9|Sam acct Name, 10|Display Name, 11|User Principal Name, 12|Home Directory, 13|Home Drive, 14|Script Path, 15|Profile Path, 16|User Workstations, 17|Password Last Set, 18|acct Expires, 19|Primary Goup ID, 20|Allowed To Delegate To, 21|Old UAC Value, 22|New UAC Value, 23|User acct Control, 24|User Parameters, 25|Sid History, 26|Logon Hours"},
    {kEvt, 644, "User acct was locked out", "", kPulls, "1|Target acct Name, 2|Target acct ID, 3|Caller MachineName, 4|Caller UserName, 5|Caller Domain, 6|Caller Logon ID"},
    {kEvt, 645, "User acct was created", "", kPulls, "1|New acct Name, 2|New Domain, 3|New acct ID, 4|Caller UserName, 5|Caller Domain, 6|Caller Logon ID"},
    {kEvt, 646, "User acct was changed", "", kPulls, "1|Computer acct changed, 2|Target acct name, 3|Target Domain, 4|Target acct ID, 5|Caller Username, 6|Caller Domain, 7|Caller Logon ID"},
    {kEvt, 647, "User acct was deleted", "", kPulls, "1|Target acct Name, 2|Target Domain, 3|Target acct ID, 4|Caller UserName, 5|Caller Domain, 6|Caller Logon ID, 7|Privileges"},
    {kEvt, 671, "User acct was unlocked", "", kPulls, "1|Target acct Name, 2|Target Domain, 3|Target acct ID, 4|Caller UserName, 5|Caller Domain, 6|Caller Logon ID"},
    {kEvt, 675, "Domain failed to validate the credentials for an account", "", kPulls, "1|User Name, 2|User ID, 3|Service Name, 4|Pre-authentication, 5|Failure code, 6|Client addr"},
    {kEvt, 685, "Name of an acct was changed", "", kPulls, "1|Old acct Name, 2|New acct Name, 3|Target Domain, 4|Target acct ID, 5|Caller Username, 6|Caller Domain, 7|Caller Logon ID, 8|Privileges"},
    {kEvtx, 4672, "Special Privileges assigned to new logon", "", kAllData, ""},
    {kEvtx, 4704, "User Right was assigned", "", kAllData, ""},
    {kEvtx, 4705, "User Right was removed", "", kAllData, ""},
    {kEvtx, 4717, "System Security Access was granted to an account", "", kAllData, ""},
    {kEvtx, 4718, "System Security Access was removed from an account", "", kAllData, ""},
    {kEvtx, 4720, "User acct was created", "", kAllData, ""},
    {kEvtx, 4722, "User acct was enabled", "", kAllData, ""},
    {kEvtx, 4725, "user acct was disabled", "", kAllData, ""},
    {kEvtx, 4726, "User acct was deleted", "", kAllData, ""},
    {kEvtx, 4738, "User acct was changed", "", kAllData, ""},
    {kEvtx, 4740, "User acct was locked out", "", kAllData, ""},
    {kEvtx, 4741, "Computer acct was created", "", kAllData, ""},
    {kEvtx, 4742, "Computer acct was changed", "", kAllData, ""},
    {kEvtx, 4743, "Computer acct was deleted", "", kAllData, ""},
    {kEvtx, 4767, "User acct was unlocked", "", kAllData, ""},
    {kEvtx, 4776, "Domain attempted to validate the credentials for an account", "", kAllData, ""},
    {kEvtx, 4777, "Domain failed to validate the credentials for an account", "", kAllData, ""},
    {kEvtx, 4781, "Name of an acct was changed", "", kAllData, ""},
};

constexpr BuiltinQuery kUsb[] = {
    {kEvtx, 20001, "Driver Management concluded the process to install driver", "deviceinstanceid|USB", kAllData, ""},
    {kEvtx, 20003, "Driver Management has concluded the process to add Service", "deviceinstanceid|USB", kAllData, ""},
    {kEvtx, 2003, "Query to load Drivers", "", kAllData, ""},
    {kEvtx, 2004, "Loading Drivers for new Device", "", kAllData, ""},
    {kEvtx, 2005, "Loading Drivers for new Device", "", kAllData, ""},
    {kEvtx, 2006, "Successfully Loaded Driver", "", kAllData, ""},
    {kEvtx, 2010, "Successfully Loaded Drivers for Device", "", kAllData, ""},
    {kEvtx, 2100, "Received a Pnp or Power Operation for a USB Device", "", kAllData, ""},
    {kEvtx, 2101, "Completed a Pnp or Power Operation for a USB Device", "", kAllData, ""},
    {kEvtx, 2102, "Forwarded a finished Pnp or Power operation to the lower driver for a Device", "", kAllData, ""},
    {kEvtx, 2103, "Error: Completed a Pnp or Power operation for device", "", kAllData, ""},
    {kEvtx, 2104, "USB Power Events", "", kAllData, ""},
    {kEvtx, 2105, "Forwarded a Pnp or Power operation to the lower driver", "", kAllData, ""},
    {kEvtx, 2106, "Received a Pnp or Power operation which was completed by the lower drivers", "", kAllData, ""},
    {kEvtx, 2107, "USB Power Events", "", kAllData, ""},
    {kEvtx, 2108, "USB Power Events", "", kAllData, ""},
    {kEvtx, 2109, "USB Power Events", "", kAllData, ""},
};

// clang-format on

// Which logs a report is for: the kind must equal one of `kinds`, or contain `kind_part`; the
// lower-cased file name must contain one of `name_parts`, unless the kind alone is enough.
constexpr BuiltinReport kReports[] = {
    {.selected = &RunOptions::report_pw,
     .name = "pw",
     .question = "Whose password was changed or reset, and by whom?",
     .since = "Windows 2000 (EVT); Vista and Server 2008 (EVTX)",
     .queries = kPassword,
     .kinds = {kKindSecurity},
     .name_parts = {"security.evtx", "secevent.evt"},
     .kind_is_enough = true},
    {.selected = &RunOptions::report_time,
     .name = "time",
     .question = "Was the clock set, and by whom?",
     .since = "Windows 2000 (EVT); Vista and Server 2008 (EVTX)",
     .queries = kTime,
     .kinds = {kKindSecurity, kKindSystem},
     .name_parts = {"security", "secevent", "system", "sysevent"}},
    {.selected = &RunOptions::report_logon,
     .name = "logon",
     .question = "Who logged on and off, how, and who failed to?",
     .since = "Windows 2000 (EVT); Vista and Server 2008 (EVTX)",
     .queries = kLogon,
     .kinds = {kKindSecurity},
     .name_parts = {"security.evtx", "secevent.evt"},
     .kind_is_enough = true},
    {.selected = &RunOptions::report_startstop,
     .name = "startstop",
     .question = "When was the system started, stopped, put to sleep and resumed?",
     .since = "Windows 2000 (EVT); Vista and Server 2008 (EVTX)",
     .queries = kStartStop,
     .kinds = {kKindSystem},
     .name_parts = {"system.evtx", "sysevent.evt"},
     .kind_is_enough = true},
    {.selected = &RunOptions::report_creds,
     .name = "creds",
     .question = "Which accounts, rights and privileges were given, changed and used?",
     .since = "Windows 2000 (EVT); Vista and Server 2008 (EVTX)",
     .queries = kCredentials,
     .kinds = {kKindSecurity},
     .name_parts = {"security.evtx", "secevent.evt"},
     .kind_is_enough = true},
    {.selected = &RunOptions::report_usb,
     .name = "usb",
     .question = "Which USB devices were plugged in, and which drivers installed for them?",
     .since = "Vista and Server 2008 (EVTX)",
     .queries = kUsb,
     .kinds = {kKindSystem},
     .kind_part = kKindDriverFrameworks,
     .kind_is_enough = true,
     .evtx_only = true},
};

}  // namespace

std::span<const BuiltinReport> BuiltinReports() { return kReports; }

}  // namespace tarnlex
