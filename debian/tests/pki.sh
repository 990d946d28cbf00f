# For the tests here: a PKI in $work/pki, whose responder is `openssl ocsp`, stopped at the end.
set -euo pipefail
work=$(mktemp -d "${AUTOPKGTEST_TMP:-${TMPDIR:-/tmp}}/tallow.XXXXXX")
trap '"$work/pki/stop" || true; rm -rf "$work"' EXIT
export HOME=$work XDG_DATA_HOME=$work/data
/usr/share/doc/tallow/examples/pki/make-pki "$work/pki" >"$work/log"
cd "$work/pki"

# expect STATUS TEXT COMMAND...: runs it, and fails unless it ends with the status and prints the text.
expect() {
  local expected=$1 text=$2 status=0 output
  shift 2
  output=$("$@" 2>&1) || status=$?
  if [ "$status" -ne "$expected" ] || [[ $output != *"$text"* ]]; then
    printf '%s\n' "$output" >&2
    echo "$*: status $status; expected was $expected with the text: $text" >&2
    exit 1
  fi
  echo "passed: $*"
}
