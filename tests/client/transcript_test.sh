#!/bin/bash
# Runs the commands of a transcript and compares what they print with what stands in it, as one text:
#   transcript_test.sh BIN EXAMPLES TRANSCRIPT [--accept]     --accept writes what is printed into it
# A line that begins with "$ " is a command for the shell, one that begins with "## " a remark; what follows
# a command is its output, and its exit code in brackets unless that is 0. Each transcript has a state root
# and a folder with the examples to itself; what differs from run to run is replaced by words.
set -u
bin=$(realpath "$1") examples=$(realpath "$2") transcript=$(realpath "$3") accept=${4:-}
work=$(mktemp -d)
server=
trap '[ -z "$server" ] || kill "$server" 2>/dev/null; rm -rf "$work"' EXIT
export bin TAGWRIGHT_ROOT=$work/root TZ=UTC LC_ALL=C
mkdir "$work/jobs"
cp "$examples"/*.xml "$work/jobs"
cd "$work/jobs" || exit 1

ctl() { "$bin/tagwrightctl" "$@"; }

# serve NAME [/c]: a tagwright whose pipe is there when this returns.
serve() {
  "$bin/tagwright" /n "$@" &
  server=$!
  until [ -S "$TAGWRIGHT_ROOT/pipe/$1" ]; do
    kill -0 "$server" || return 1
    sleep 0.01
  done
}
# What `status` says of that tagwright; those of other tests may be there as well.
status() { ctl status | awk -v id="process $server," '/^[^ ]/ { own = index($0, id) } own'; }
# The end of that tagwright, and its exit code.
served() { wait "$server"; }

# follow ARGUMENTS...: the tool runs beside the commands; `next` shows the line that it prints next,
# `unfollow` ends it.
follow() {
  [ -p "$work/followed" ] || mkfifo "$work/followed"
  "$bin/tagwrightctl" "$@" >"$work/followed" 2>&1 &
  follower=$!
  exec 3<"$work/followed"
}
next() { IFS= read -r -t 60 -u 3 shown && printf '%s\n' "$shown"; }
unfollow() {
  kill "$follower"
  wait "$follower"
  exec 3<&-
}

# job OPERATIONS...: a job with a line for each of them, behind a printer at USB001.
job() {
  echo '<zsdk_job>'
  printf '%s\n' '<printer port_type="1" port_address="USB001"/>' "$@" '</zsdk_job>'
}

run_commands() {
  local command code
  while IFS= read -r command; do
    case $command in
      '## '*) printf '%s\n' "$command" ;;
      '$ '*)
        printf '%s\n' "$command"
        eval "${command#??}" </dev/null
        code=$?
        [ $code = 0 ] || echo "[$code]"
        ;;
    esac
  done <"$transcript"
}

name_what_differs() {
  sed -E -e "s#$work#WORK#g" -e "s#${work//\//.}#WORK#g" -e "s#$bin#BIN#g" \
    -e 's/[0-9]{4}-[0-9]{2}-[0-9]{2}[ T][0-9:]{8}\.[0-9]{3}Z?/TIME/g' \
    -e 's/  [0-9]{7}\.[0-9]{3}:/  UPTIME:/' -e 's/\.\.\.[0-9a-f]{8}:/...PIPE:/' -e 's/(txt, )[0-9]+ bytes/\1N bytes/' \
    -e 's/[0-9]+\.[0-9] ms/N ms/g' -e 's/"milliseconds":[0-9.e-]+/"milliseconds":N/g' \
    -e 's#\[[0-9]+/[0-9A-F]{8}\]#[PROCESS/THREAD]#g' -e 's/(process|tagwrightctl) [0-9][0-9.]*/\1 N/g' \
    -e 's/version [0-9]+\.[0-9.]+/version N/g' \
    -e 's/(started by|client) ([^ ]+) \([0-9]+\)/\1 \2 (N)/g'
}

run_commands 2>&1 | name_what_differs >"$work/printed"
[ "$accept" != --accept ] || cp "$work/printed" "$transcript"
diff -u "$transcript" "$work/printed"
