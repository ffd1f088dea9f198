#!/bin/bash
# What a person gets who types a part of a command line and presses Tab.
# usage: completion_test.sh COMPLETION_FILE
set -eu
source "$1"
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
mkdir "$place/folder"
touch "$place/Security.evtx"
cd "$place"
failures=0

# complete WORD... : the candidates for the last word, on one line.
complete_words() {
  COMP_WORDS=(tarnlex "$@")
  COMP_CWORD=$#
  COMPREPLY=()
  _tarnlex
  echo "${COMPREPLY[*]}"
}

# expect CANDIDATES WORD...
expect() {
  local wanted=$1 got
  shift
  got=$(complete_words "$@")
  [ "$got" = "$wanted" ] && return
  echo "tarnlex $*: got \"$got\" instead of \"$wanted\"" >&2
  failures=$((failures + 1))
}

expect '-eventid -event_json -event_xml' -ev
expect '-csv -csvgen -csvl2t -csv_separator' -log Security.evtx -csv
expect '-log -logon' -lo
expect 'Security.evtx' -log Sec
expect 'Security.evtx folder' -out ''
expect 'folder' -outdir ''
expect 'folder' -partition fol
expect 'tab' -csv_separator ''
expect 'always auto' -color a
expect '' -columns -ev
expect 'yyyy-mm-dd yyyy/mm/dd' -dateformat y
expect '' -string -ev
expect '-eventid' -quiet -eventi
expect '' nothing_of_this_name
[ "$(complete -p tarnlex)" = 'complete -F _tarnlex tarnlex' ]
exit "$failures"
