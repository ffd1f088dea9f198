#compdef tarnlex
# Made of what tarnlex -options prints.
_arguments \
  '-log[these logs]:PATH:_files' \
  '-dir[every event log below these folders, whatever its name (since 0.34)]:FOLDER:_files -/' \
  '-pipe[the logs whose paths come in, one a line]' \
  '-partition[the logs of a Windows volume: where it is mounted, or its drive letter]:VOLUME:_files -/' \
  '-livesys[the logs of the running system (Windows)]' \
  '-vss[the logs of a volume shadow copy (Windows)]:NUMBER: ' \
  '-carve[logs and records that lie in these raw images: disks, free space, page files, memory (since 0.34)]:FILE:_files' \
  '-part[of each EVTX log only the K-th of N parts, cut between chunks (since 0.34)]:K: ' \
  '-eventid[events of these identifiers]:ID: ' \
  '-string[events one of whose values holds the text]:TEXT: ' \
  '-start_time[events of this time on: 2023-03-14T11:00:00Z, "03/14/2023 11:00:00", -2d]:TIME: ' \
  '-stop_time[events up to this time]:TIME: ' \
  '-unique[each event once, however many logs hold it (since 0.34)]' \
  '-pw[changes of passwords]' \
  '-time[changes of the system time]' \
  '-logon[logons and logoffs]' \
  '-startstop[starts and stops of the system]' \
  '-creds[changes of accounts and privileges]' \
  '-usb[USB devices]' \
  '-report[reports of the library; -report list names all, -report show NAME has the lines of one (since 0.34)]:NAME: ' \
  '-cmdfile[a report of your own]:FILE:_files' \
  '-complete[every value of every event (since 0.34)]' \
  '-recover[-complete, and what was deleted: records that the log does not use any more (since 0.34)]' \
  '-csv[CSV, a table for each kind of event]' \
  '-csvgen[CSV, one table for each log]' \
  '-csvl2t[log2timeline CSV]' \
  '-bodyfile[lines for mactime]' \
  '-allparams[with -bodyfile: all values in the name]' \
  '-xml[accepted; rows look as they do without a form]' \
  '-multiline[each cell on a line of its own]' \
  '-json[a line of JSON for each record, as it is read; everything that -complete gives (since 0.34)]' \
  '-timesketch[with -json: what an import into Timesketch asks for (since 0.34)]' \
  '-event_json[events as JSON lines in their own structure, as hunting tools read them (since 0.34)]' \
  '-event_xml[events as XML, as Windows shows them, one a line (since 0.34)]' \
  '-cards[each record as lines "name: value", for reading (since 0.34)]' \
  '-width[with -cards: how many characters a line takes; 0 for any number (since 0.34)]:NUMBER: ' \
  '-columns[of tables, CSV and cards only these columns, in this order (since 0.34)]:NAME: ' \
  '-color[always, never or auto: on a terminal (since 0.34)]:WHEN: ' \
  '-csv_separator[what stands between cells; tab for a tab]:TEXT: ' \
  '-no_whitespace[no blanks around separators]' \
  '-pair_datetime[date and time in one cell]' \
  '-dateformat[mm/dd/yyyy, yyyy-mm-dd and the like]:FORMAT: ' \
  '-timeformat[hh:mm:ss, hh:mm:ss.xxx and the like]:FORMAT: ' \
  '-alias[what a log is called]:ALIAS: ' \
  '-aliaspath[what the folder of logs is called]:ALIAS: ' \
  '-hostname[log2timeline: the host of events that name none]:NAME: ' \
  '-username[log2timeline: the user]:NAME: ' \
  '-out[all records into one file]:FILE:_files' \
  '-outfile[the same]:FILE:_files' \
  '-outdir[the records of each log into a file of its own]:FOLDER:_files -/' \
  '-carve_out[with -carve: the logs that were found, as files that any reader opens (since 0.34)]:FOLDER:_files -/' \
  '-stats[what was counted]:FILE:_files' \
  '-hist[with -stats: counts by the values of these columns]:NAME: ' \
  '-diags[what was read and what was not]:FILE:_files' \
  '-account[what was read and what was not, a line of JSON for each log (since 0.34)]:FILE:_files' \
  '-quiet[no status]' \
  '-strict[no run with anything to remark; exit code 2 where not all was read (since 0.34)]' \
  '-verbose[accepted, without effect]' \
  '-base10[accepted, without effect]' \
  '-signal[accepted, without effect]:TEXT: ' \
  '-sqlite[refused: not offered]:FILE:_files' \
  '-h[the usage]' \
  '-help[the same]' \
  '--help[the same]' \
  '/?[the same]' \
  '-options[all options; stands alone (since 0.34)]' \
  '-version[version, commit and build; stands alone (since 0.34)]' \
  '--version[the same (since 0.34)]'
