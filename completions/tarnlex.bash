# Completion of the options of tarnlex and of their values. Names are matched in lower case here, as
# everybody types them.

_tarnlex() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
  local options='-log -dir -livesys -vss -partition -pipe -carve -part
    -pw -time -logon -startstop -creds -usb -report -cmdfile
    -eventid -string -start_time -stop_time -unique
    -complete -recover -csv -csvgen -csvl2t -bodyfile -allparams -xml -multiline -json -timesketch
    -event_json -event_xml
    -cards -width -columns -color
    -csv_separator -no_whitespace -pair_datetime -dateformat -timeformat
    -alias -aliaspath -hostname -username
    -out -outfile -outdir -carve_out -stats -hist -diags -account
    -quiet -strict -verbose -base10 -signal -sqlite
    -h -help --help -options -version --version'
  COMPREPLY=()
  case $before in
    -log | -carve | -cmdfile | -out | -outfile | -stats | -diags | -account)
      compopt -o filenames 2>/dev/null
      mapfile -t COMPREPLY < <(compgen -f -- "$word")
      ;;
    -dir | -outdir | -carve_out | -partition)
      compopt -o filenames 2>/dev/null
      mapfile -t COMPREPLY < <(compgen -d -- "$word")
      ;;
    -report)
      mapfile -t COMPREPLY < <(compgen -W "list show
        $(tarnlex -report list 2>/dev/null | cut -d ' ' -f 1)" -- "$word")
      ;;
    -csv_separator) mapfile -t COMPREPLY < <(compgen -W 'tab' -- "$word") ;;
    -dateformat)
      mapfile -t COMPREPLY < <(compgen -W 'yyyy-mm-dd yyyy/mm/dd mm/dd/yyyy dd/mm/yyyy' -- "$word")
      ;;
    -color) mapfile -t COMPREPLY < <(compgen -W 'always auto never' -- "$word") ;;
    -timeformat) mapfile -t COMPREPLY < <(compgen -W 'hh:mm:ss hh:mm:ss.xxx' -- "$word") ;;
    # Their values are the examiner's own.
    -vss | -eventid | -string | -start_time | -stop_time | -alias | -aliaspath | -hostname | \
      -username | -hist | -width | -columns | -part | -signal | -sqlite) ;;
    *) mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word") ;;
  esac
}

complete -F _tarnlex tarnlex
