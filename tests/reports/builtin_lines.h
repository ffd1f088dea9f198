// The lines of the built-in reports as they must be, written out in full and apart from the
// program's own tables, so that a slip in either shows.
#pragma once

#include <string_view>

namespace tarnlex {

// clang-format off

inline constexpr std::string_view kPasswordLines[] = {
    "!cmd, -enum_evtlog, -id, 518, -name, A notification was loaded, -pull, 1|Notification Package Name",
    "!cmd, -enum_evtlog, -id, 627, -name, Change Password Attempt, -pull, 1|Target Account Name, -pull, 2|Target Domain, -pull, 3|Target Account ID, -pull, 4|Caller UserName, -pull, 5|Caller Domain, -pull, 6|Caller Logon ID, -pull, 7|Privileges",
    "!cmd, -enum_evtlog, -id, 628, -name, User Account Password Set , -pull, 1|Target Account Name, -pull, 2|Target Domain, -pull, 3|Target Account ID, -pull, 4|Caller UserName, -pull, 5|Caller Domain, -pull, 6|Caller Logon ID",
    "!cmd, -enum_evtlog, -id, 642, -name, A user account was changed, -pull, 2|Target Account Name, -pull, 3|Target Domain, -pull, 4|Target Account ID, -pull, 5|Caller UserName, -pull, 6|Caller Domain, -pull, 7|Caller Logon ID, -pull, 8|Privileges, -pull, 9|SAM Account Name, -pull, 10|Display Name, -pull, 11|User Principal Name, -pull, 12|Home Directory, -pull, 13|Home Drive, -pull, 14|Script Path, -pull, 15|Profile Path, -pull, 16|User Workstations, -pull, 17|Password Last Set",
    "!cmd, -enum_evtxlog, -id, 4614, -name, A notification was loaded, -all_data",
    "!cmd, -enum_evtxlog, -id, 4723, -name, Attempt was made to change an account's password, -all_data",
    "!cmd, -enum_evtxlog, -id, 4724, -name, Attempt was made to reset an account's password, -all_data",
    "!cmd, -enum_evtxlog, -id, 4738, -name, A user account was changed, -all_data",
};

inline constexpr std::string_view kTimeLines[] = {
    "!cmd, -enum_evtlog, -id, 520, -name, The System Time was Changed, -pull, 1|Process ID, -pull, 2|Process Name, -pull, 3|Primary User Name, -pull, 4|Primary Domain, -pull, 5|Primary Logon ID, -pull, 6|Client UserName, -pull, 7|Client Domain, -pull, 8|Client Logon ID, -pull, 10|Previous Date, -pull, 9|Previous Time, -pull, 12|New Date, -pull, 11|New Time",
    "!cmd, -enum_evtlog, -id, 577, -name, Service attempted to change Time, -conditions, string|SeSystemtimePrivilege, -pull, 1|Server, -pull, 2|Service, -pull, 3|Primary UserName, -pull, 4|Primary Domain, -pull, 5|Primary Logon ID, -pull, 6|Client UserName, -pull, 7|Client Domain, -pull, 8|Client Logon ID, -pull, 9|Privileges",
    "!cmd, -enum_evtlog, -id, 578, -name, Service changed Time, -conditions, string|SeSystemtimePrivilege, -pull, 1|Object Server, -pull, 2|Object Handle, -pull, 3|Process ID, -pull, 4|Primary UserName, -pull, 5|Primary Domain, -pull, 6|Primary Logon ID, -pull, 7|Client userName, -pull, 8|Client Domain, -pull, 9|ClientLogon ID, -pull, 10|Privileges",
    "!cmd, -enum_evtxlog, -id, 4616, -name, The System Time was Changed, -all_data",
    "!cmd, -enum_evtxlog, -id, 4673, -name, Service attempted to change Time, -conditions, PrivilegeList|SeSystemtimePrivilege, -all_data",
    "!cmd, -enum_evtxlog, -id, 4674, -name, Service changed Time, -conditions, PrivilegeList|SeSystemtimePrivilege, -all_data",
};

inline constexpr std::string_view kLogonLines[] = {
    "!cmd, -enum_evtlog, -id, 528, -name, logon, -pull, 1|UserName, -pull, 2|Domain, -pull, 3|Logon ID, -pull, 4|Logon Type, -pull, 5|Logon Process, -pull, 6|Authentication Package, -pull, 7|Workstation Name, -pull, 8|LogonGUID, -pull, 9|Caller Username, -pull, 10|Caller Domain, -pull, 11|Caller Logon ID, -pull, 12|Caller Process ID, -pull, 13|Transited Services, -pull, 14|Source Network Address, -pull, 15|Source Port",
    "!cmd, -enum_evtlog, -id, 529, -name, logon/failed [unk user name or bad password], -pull, 1|UserName, -pull, 2|Domain, -pull, 3|Logon Type, -pull, 4|Logon Process, -pull, 5|Authentication Package, -pull, 6|Workstation Name, -pull, 7|Caller Username, -pull, 8|Caller Domain, -pull, 9|Caller Logon ID, -pull, 10|Caller Process ID, -pull, 11|Transited Services, -pull, 12|Source Network Address, -pull, 13|Source Port",
    "!cmd, -enum_evtlog, -id, 530, -name, logon/failed [time restriction violation], -pull, 1|UserName, -pull, 2|Domain, -pull, 3|Logon Type, -pull, 4|Logon Process, -pull, 5|Authentication Package, -pull, 6|Workstation Name, -pull, 7|Caller Username, -pull, 8|Caller Domain, -pull, 9|Caller Logon ID, -pull, 10|Caller Process ID, -pull, 11|Transited Services, -pull, 12|Source Network Address, -pull, 13|Source Port",
    "!cmd, -enum_evtlog, -id, 531, -name, logon/failed [acct disabled], -pull, 1|UserName, -pull, 2|Domain, -pull, 3|Logon Type, -pull, 4|Logon Process, -pull, 5|Authentication Package, -pull, 6|Workstation Name, -pull, 7|Caller Username, -pull, 8|Caller Domain, -pull, 9|Caller Logon ID, -pull, 10|Caller Process ID, -pull, 11|Transited Services, -pull, 12|Source Network Address, -pull, 13|Source Port",
    "!cmd, -enum_evtlog, -id, 532, -name, logon/failed [acct expired], -pull, 1|UserName, -pull, 2|Domain, -pull, 3|Logon Type, -pull, 4|Logon Process, -pull, 5|Authentication Package, -pull, 6|Workstation Name, -pull, 7|Caller Username, -pull, 8|Caller Domain, -pull, 9|Caller Logon ID, -pull, 10|Caller Process ID, -pull, 11|Transited Services, -pull, 12|Source Network Address, -pull, 13|Source Port",
    "!cmd, -enum_evtlog, -id, 533, -name, logon/failed [User Not allowed to Logon at this Computer], -pull, 1|UserName, -pull, 2|Domain, -pull, 3|Logon Type, -pull, 4|Logon Process, -pull, 5|Authentication Package, -pull, 6|Workstation Name, -pull, 7|Caller Username, -pull, 8|Caller Domain, -pull, 9|Caller Logon ID, -pull, 10|Caller Process ID, -pull, 11|Transited Services, -pull, 12|Source Network Address, -pull, 13|Source Port",
    "!cmd, -enum_evtlog, -id, 534, -name, logon/failed [user has not been granted the logon type at this machine], -pull, 1|UserName, -pull, 2|Domain, -pull, 3|Logon Type, -pull, 4|Logon Process, -pull, 5|Authentication Package, -pull, 6|Workstation Name, -pull, 7|Caller Username, -pull, 8|Caller Domain, -pull, 9|Caller Logon ID, -pull, 10|Caller Process ID, -pull, 11|Transited Services, -pull, 12|Source Network Address, -pull, 13|Source Port",
    "!cmd, -enum_evtlog, -id, 535, -name, logon/failed [acct password expired], -pull, 1|UserName, -pull, 2|Domain, -pull, 3|Logon Type, -pull, 4|Logon Process, -pull, 5|Authentication Package, -pull, 6|Workstation Name, -pull, 7|Caller Username, -pull, 8|Caller Domain, -pull, 9|Caller Logon ID, -pull, 10|Caller Process ID, -pull, 11|Transited Services, -pull, 12|Source Network Address, -pull, 13|Source Port",
    "!cmd, -enum_evtlog, -id, 536, -name, logon/failed [NetLogon component not active], -pull, 1|UserName, -pull, 2|Domain, -pull, 3|Logon Type, -pull, 4|Logon Process, -pull, 5|Authentication Package, -pull, 6|Workstation Name, -pull, 7|Caller Username, -pull, 8|Caller Domain, -pull, 9|Caller Logon ID, -pull, 10|Caller Process ID, -pull, 11|Transited Services, -pull, 12|Source Network Address, -pull, 13|Source Port",
    "!cmd, -enum_evtlog, -id, 537, -name, logon/failed [Error occurred during logon], -pull, 1|UserName, -pull, 2|Domain, -pull, 3|Logon Type, -pull, 4|Logon Process, -pull, 5|Authentication Package, -pull, 6|Workstation Name, -pull, 7|StatusCode, -pull, 8|Substatus Code, -pull, 9|Caller Username, -pull, 10|Caller Domain, -pull, 11|Caller Logon ID, -pull, 12|Caller Process ID, -pull, 13|Transited Services, -pull, 14|Source Network Address, -pull, 15|Source Port",
    "!cmd, -enum_evtlog, -id, 538, -name, logoff, -pull, 1|UserName, -pull, 2|Domain, -pull, 3|Logon ID, -pull, 4|Logon Type",
    "!cmd, -enum_evtlog, -id, 539, -name, logon/failed [acct locked out], -pull, 1|UserName, -pull, 2|Domain, -pull, 3|Logon Type, -pull, 4|Logon Process, -pull, 5|Authentication Package, -pull, 6|Workstation Name, -pull, 7|Caller Username, -pull, 8|Caller Domain, -pull, 9|Caller Logon ID, -pull, 10|Caller Process ID, -pull, 11|Transited Services, -pull, 12|Source Network Address, -pull, 13|Source Port",
    "!cmd, -enum_evtlog, -id, 540, -name, logon/network, -pull, 1|UserName, -pull, 2|Domain, -pull, 3|Logon ID, -pull, 4|Logon Type, -pull, 5|Logon Process, -pull, 6|Authentication Package, -pull, 7|Workstation Name, -pull, 8|LogonGUID, -pull, 9|Caller Username, -pull, 10|Caller Domain, -pull, 11|Caller Logon ID, -pull, 12|Caller Process ID, -pull, 13|Transited Services, -pull, 14|Source Network Address, -pull, 15|Source Port",
    "!cmd, -enum_evtlog, -id, 552, -name, logon/RunAs, -pull, 1|UserName, -pull, 2|Domain, -pull, 3|Logon ID, -pull, 4|Logon Guid, -pull, 5|Target Username (creds used), -pull, 6|Target Domain, -pull, 7|Target GUID, -pull, 8|Server name, -pull, 9|Server Info, -pull, 10|Caller ProcID, -pull, 11|Caller Source Network Address, -pull, 12|Source Port",
    "!cmd, -enum_evtxlog, -id, 4624, -name, logon/interactive, -conditions, LogonType|2, -all_data",
    "!cmd, -enum_evtxlog, -id, 4624, -name, logon/network, -conditions, LogonType|3, -all_data",
    "!cmd, -enum_evtxlog, -id, 4624, -name, logon/batch, -conditions, LogonType|4, -all_data",
    "!cmd, -enum_evtxlog, -id, 4624, -name, logon/service, -conditions, LogonType|5s, -all_data",
    "!cmd, -enum_evtxlog, -id, 4624, -name, logon/unlock, -conditions, LogonType|7, -all_data",
    "!cmd, -enum_evtxlog, -id, 4624, -name, logon/NetworkClearText, -conditions, LogonType|8, -all_data",
    "!cmd, -enum_evtxlog, -id, 4624, -name, logon/NewCredentials, -conditions, LogonType|9, -all_data",
    "!cmd, -enum_evtxlog, -id, 4624, -name, logon/RemoteInteractive, -conditions, LogonType|10, -all_data",
    "!cmd, -enum_evtxlog, -id, 4624, -name, logon/CachedInteractive, -conditions, LogonType|11, -all_data",
    "!cmd, -enum_evtxlog, -id, 4625, -name, logon/failed, -all_data",
    "!cmd, -enum_evtxlog, -id, 4634, -name, logoff, -all_data",
    "!cmd, -enum_evtxlog, -id, 4648, -name, logon/RunAs, -all_data",
};

inline constexpr std::string_view kStartStopLines[] = {
    "!cmd, -enum_evtlog, -id, 528, -name, reboot or shutdown, -conditions, string|winlogon.exe",
    "!cmd, -enum_evtlog, -id, 12, -name, startup",
    "!cmd, -enum_evtlog, -id, 13, -name, shutdown",
    "!cmd, -enum_evtlog, -id, 42, -name, sleep",
    "!cmd, -enum_evtlog, -id, 1, -name, resume, -conditions, string|cdc05e28-c449-49c6-b9d2-88cf761644df",
    "!cmd, -enum_evtxlog, -id, 1074, -name, reboot or shutdown, -conditions, Data|winlogon.exe, -all_data",
    "!cmd, -enum_evtxlog, -id, 12, -name, startup, -all_data, -pull, MajorVersion, -pull, MinorVersion, -pull, BuildVersion",
    "!cmd, -enum_evtxlog, -id, 13, -name, shutdown, -all_data",
    "!cmd, -enum_evtxlog, -id, 42, -name, sleep, -all_data",
    "!cmd, -enum_evtxlog, -id, 1, -name, resume, -conditions, Provider Guid|cdc05e28-c449-49c6-b9d2-88cf761644df, -all_data",
};

inline constexpr std::string_view kCredentialsLines[] = {
    "!cmd, -enum_evtlog, -id, 576, -name, Special Privileges assigned to new logon, -pull, 1|UserName, -pull, 2|Domain, -pull, 3|Logon ID, -pull, 4|Assigned Privileges",
    "!cmd, -enum_evtlog, -id, 608, -name, User Right was assigned, -pull, 1|User Right, -pull, 2|Assigned To, -pull, 3|by User Name, -pull, 3|by Domain, -pull, 5|by Logon ID",
    "!cmd, -enum_evtlog, -id, 609, -name, User Right was removed, -pull, 1|User Right, -pull, 2|Removed From, -pull, 3|by User Name, -pull, 4|by Domain, -pull, 5|by Logon ID",
    "!cmd, -enum_evtlog, -id, 621, -name, System Security Access was granted to an account, -pull, 4|Access Granted, -pull, 5|acct Modified, -pull, 1|Assigned By UserName, -pull, 2|Assigned By Domain, -pull, 3|Assigned By Logon ID",
    "!cmd, -enum_evtlog, -id, 622, -name, System Security Access was removed from an account, -pull, 4|Access Removed, -pull, 5|acct Modified, -pull, 1|Removed By UserName, -pull, 2|Removed By Domain, -pull, 3|Removed By Logon ID",
    "!cmd, -enum_evtlog, -id, 624, -name, User acct was created, -pull, 1|New acct Name, -pull, 2|New Domain, -pull, 3|New acct ID, -pull, 4|Caller UserName, -pull, 5|Caller Domain, -pull, 6|Caller Logon ID, -pull, 7|Privileges, -pull, 8|Sam acct Name, -pull, 9|Display Name, -pull, 10|User Principal Name, -pull, 11|Home Directory, -pull, 12|Home Drive, -pull, 13|Script Path, -pull, 14|Profile Path, -pull, 15|user Workstations, -pull, 16|Password Last Set, -pull, 17|acct Expires, -pull, 18|Primary Group ID, -pull, 19|Allowed To Delegate To, -pull, 20|Old UAC Value, -pull, 21|New UAC Value, -pull, 22|user acct Control, -pull, 23|User Parameters, -pull, 24|Sid History, -pull, 25|Logon Hours",
    "!cmd, -enum_evtlog, -id, 626, -name, User acct was enabled, -pull, 1|Target acct Name, -pull, 2|Target Domain, -pull, 3|Target acct ID, -pull, 4|Caller UserName, -pull, 5|Caller Domain, -pull, 6|CallerLogonID",
    "!cmd, -enum_evtlog, -id, 629, -name, user acct was disabled, -pull, -pull, -pull, 2|Target Domain, -pull, 3|Target acct ID, -pull, 4|Caller UserName, -pull, 5|Caller Domain, -pull, 6|CallerLogonID",
    "!cmd, -enum_evtlog, -id, 630, -name, User acct was deleted, -pull, 1|Target acct Name, -pull, 2|Target Domain, -pull, 3|Target acct ID, -pull, 4|Caller UserName, -pull, 5|Caller Domain, -pull, 6|Caller Logon ID, -pull, 7|Privileges",
    "!cmd, -enum_evtlog, -id, 642, -name, User acct was changed, -pull, 2|Target acct Name, -pull, 3|Target Domain, -pull, 4|Target acct ID, -pull, 5|Caller UserName, -pull, 6|Caller Domain, -pull, 7|Caller Logon ID, -pull, 8|Privileges, -pull, 9|Sam acct Name, -pull, 10|Display Name, -pull, 11|User Principal Name, -pull, 12|Home Directory, -pull, 13|Home Drive, -pull, 14|Script Path, -pull, 15|Profile Path, -pull, 16|User Workstations, -pull, 17|Password Last Set, -pull, 18|acct Expires, -pull, 19|Primary Goup ID, -pull, 20|Allowed To Delegate To, -pull, 21|Old UAC Value, -pull, 22|New UAC Value, -pull, 23|User acct Control, -pull, 24|User Parameters, -pull, 25|Sid History, -pull, 26|Logon Hours",
    "!cmd, -enum_evtlog, -id, 644, -name, User acct was locked out, -pull, 1|Target acct Name, -pull, 2|Target acct ID, -pull, 3|Caller MachineName, -pull, 4|Caller UserName, -pull, 5|Caller Domain, -pull, 6|Caller Logon ID",
    "!cmd, -enum_evtlog, -id, 645, -name, User acct was created, -pull, 1|New acct Name, -pull, 2|New Domain, -pull, 3|New acct ID, -pull, 4|Caller UserName, -pull, 5|Caller Domain, -pull, 6|Caller Logon ID",
    "!cmd, -enum_evtlog, -id, 646, -name, User acct was changed, -pull, 1|Computer acct changed, -pull, 2|Target acct name, -pull, 3|Target Domain, -pull, 4|Target acct ID, -pull, 5|Caller Username, -pull, 6|Caller Domain, -pull, 7|Caller Logon ID",
    "!cmd, -enum_evtlog, -id, 647, -name, User acct was deleted, -pull, 1|Target acct Name, -pull, 2|Target Domain, -pull, 3|Target acct ID, -pull, 4|Caller UserName, -pull, 5|Caller Domain, -pull, 6|Caller Logon ID, -pull, 7|Privileges",
    "!cmd, -enum_evtlog, -id, 671, -name, User acct was unlocked, -pull, 1|Target acct Name, -pull, 2|Target Domain, -pull, 3|Target acct ID, -pull, 4|Caller UserName, -pull, 5|Caller Domain, -pull, 6|Caller Logon ID",
    "!cmd, -enum_evtlog, -id, 675, -name, Domain failed to validate the credentials for an account, -pull, 1|User Name, -pull, 2|User ID, -pull, 3|Service Name, -pull, 4|Pre-authentication, -pull, 5|Failure code, -pull, 6|Client addr",
    "!cmd, -enum_evtlog, -id, 685, -name, Name of an acct was changed, -pull, 1|Old acct Name, -pull, 2|New acct Name, -pull, 3|Target Domain, -pull, 4|Target acct ID, -pull, 5|Caller Username, -pull, 6|Caller Domain, -pull, 7|Caller Logon ID, -pull, 8|Privileges",
    "!cmd, -enum_evtxlog, -id, 4672, -name, Special Privileges assigned to new logon, -all_data",
    "!cmd, -enum_evtxlog, -id, 4704, -name, User Right was assigned, -all_data",
    "!cmd, -enum_evtxlog, -id, 4705, -name, User Right was removed, -all_data",
    "!cmd, -enum_evtxlog, -id, 4717, -name, System Security Access was granted to an account, -all_data",
    "!cmd, -enum_evtxlog, -id, 4718, -name, System Security Access was removed from an account, -all_data",
    "!cmd, -enum_evtxlog, -id, 4720, -name, User acct was created, -all_data",
    "!cmd, -enum_evtxlog, -id, 4722, -name, User acct was enabled, -all_data",
    "!cmd, -enum_evtxlog, -id, 4725, -name, user acct was disabled, -all_data",
    "!cmd, -enum_evtxlog, -id, 4726, -name, User acct was deleted, -all_data",
    "!cmd, -enum_evtxlog, -id, 4738, -name, User acct was changed, -all_data",
    "!cmd, -enum_evtxlog, -id, 4740, -name, User acct was locked out, -all_data",
    "!cmd, -enum_evtxlog, -id, 4741, -name, Computer acct was created, -all_data",
    "!cmd, -enum_evtxlog, -id, 4742, -name, Computer acct was changed, -all_data",
    "!cmd, -enum_evtxlog, -id, 4743, -name, Computer acct was deleted, -all_data",
    "!cmd, -enum_evtxlog, -id, 4767, -name, User acct was unlocked, -all_data",
    "!cmd, -enum_evtxlog, -id, 4776, -name, Domain attempted to validate the credentials for an account, -all_data",
    "!cmd, -enum_evtxlog, -id, 4777, -name, Domain failed to validate the credentials for an account, -all_data",
    "!cmd, -enum_evtxlog, -id, 4781, -name, Name of an acct was changed, -all_data",
};

inline constexpr std::string_view kUsbLines[] = {
    "!cmd, -enum_evtxlog, -id, 20001, -name, Driver Management concluded the process to install driver, -conditions, deviceinstanceid|USB, -all_data",
    "!cmd, -enum_evtxlog, -id, 20003, -name, Driver Management has concluded the process to add Service, -conditions, deviceinstanceid|USB, -all_data",
    "!cmd, -enum_evtxlog, -id, 2003, -name, Query to load Drivers, -all_data",
    "!cmd, -enum_evtxlog, -id, 2004, -name, Loading Drivers for new Device, -all_data",
    "!cmd, -enum_evtxlog, -id, 2005, -name, Loading Drivers for new Device, -all_data",
    "!cmd, -enum_evtxlog, -id, 2006, -name, Successfully Loaded Driver, -all_data",
    "!cmd, -enum_evtxlog, -id, 2010, -name, Successfully Loaded Drivers for Device, -all_data",
    "!cmd, -enum_evtxlog, -id, 2100, -name, Received a Pnp or Power Operation for a USB Device, -all_data",
    "!cmd, -enum_evtxlog, -id, 2101, -name, Completed a Pnp or Power Operation for a USB Device, -all_data",
    "!cmd, -enum_evtxlog, -id, 2102, -name, Forwarded a finished Pnp or Power operation to the lower driver for a Device, -all_data",
    "!cmd, -enum_evtxlog, -id, 2103, -name, Error: Completed a Pnp or Power operation for device, -all_data",
    "!cmd, -enum_evtxlog, -id, 2104, -name, USB Power Events, -all_data",
    "!cmd, -enum_evtxlog, -id, 2105, -name, Forwarded a Pnp or Power operation to the lower driver, -all_data",
    "!cmd, -enum_evtxlog, -id, 2106, -name, Received a Pnp or Power operation which was completed by the lower drivers, -all_data",
    "!cmd, -enum_evtxlog, -id, 2107, -name, USB Power Events, -all_data",
    "!cmd, -enum_evtxlog, -id, 2108, -name, USB Power Events, -all_data",
    "!cmd, -enum_evtxlog, -id, 2109, -name, USB Power Events, -all_data",
};
// clang-format on

}  // namespace tarnlex
