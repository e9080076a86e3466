# What the end-to-end tests share. CHAIN is the program, SOURCE the source tree, PLUGINS the folder of the tests' own
# plug-ins; CMake sets them.

setup() {
  cd "$BATS_TEST_TMPDIR" || return 1
  unset MARLOVANCE_USERNAME MARLOVANCE_PASSWORD MARLOVANCE_PASSWORD_FILE DEVHOST_LOG_LEVEL DEVHOST_LEDGER
}

teardown() {
  # Only what a test started itself and left running.
  for process in "${started[@]}"; do kill "$process" 2>/dev/null || true; done
}
started=()

# run_chain ARGUMENTS...: runs the program; its exit code is in $status, its output in the files out and err.
run_chain() {
  status=0
  "$CHAIN" "$@" >out 2>err || status=$?
}

# fails_with CODE LINE ARGUMENTS...: the program ends with the code, says exactly the line, and prints nothing else.
fails_with() {
  local code=$1 line=$2
  shift 2
  run_chain "$@" </dev/null
  [ "$status" -eq "$code" ] || { echo "exit code $status in place of $code"; cat err; return 1; }
  [ "$(cat err)" = "$line" ] || { cat err; return 1; }
  [ ! -s out ]
}

# expect FILTER VALUE: the jq filter over report.json gives the value.
expect() {
  local found
  found=$(jq -cS "$1" report.json)
  [ "$found" = "$2" ] || { echo "$1 is $found, not $2"; cat err; return 1; }
}

# lacks TEXT FILES...: none of the files holds the text.
lacks() {
  local text=$1
  shift
  if grep -F -- "$text" "$@"; then return 1; fi
}

# Events without what differs from run to run: when and where they were stored, and how a message is rendered. Sorted,
# since events of different devices may overtake each other.
comparable() {
  jq -cS 'walk(if type == "object" then
                 del(.creationTime, .lastUpdated)
                 | if .self then .self |= sub("^http://[^/]+"; "http://platform") else . end
                 | if .message | type == "string" then .message |= sub("^Dropping \\[.*\\] as "; "Dropping [...] as ") else . end
               else . end)' "$1" | LC_ALL=C sort
}

# start_sim ARGUMENTS...: starts a simulator for this test; its address is in $platform, its process in $sim.
start_sim() {
  "$CHAIN" sim "$@" >sim.out 2>sim.err &
  sim=$!
  started+=("$sim")
  until [ -s sim.out ] || ! kill -0 "$sim" 2>/dev/null; do sleep 0.02; done
  platform=$(head -1 sim.out)
}

# read_platform PATH: a document of the simulator at $platform.
read_platform() { ask_platform GET "$1" ''; }

# post_platform PATH JSON: posts to the simulator at $platform and gives its answer.
post_platform() { ask_platform POST "$1" "$2"; }

# ask_platform METHOD PATH BODY
ask_platform() {
  python3 - "$1" "$platform$2" "$3" <<'PYTHON'
import base64, sys, urllib.request
method, address, body = sys.argv[1:]
request = urllib.request.Request(address, data=body.encode() or None, method=method)
request.add_header("Content-Type", "application/json")
request.add_header("Authorization", "Basic " + base64.b64encode(b"fleet:fleet-secret").decode())
opener = urllib.request.build_opener(urllib.request.ProxyHandler({}))
print(opener.open(request).read().decode())
PYTHON
}
