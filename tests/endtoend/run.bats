#!/usr/bin/env bats
# `marlovance-chain run`: its streams, its outcomes and how it ends.

load helpers

device='{"type": "ManagedObject", "payload": {"reqId": 1, "requiresResponse": true, "name": "d", "type": "d"}}
{"wait": true}'

@test "ten thousand alarms have ten thousand outcomes and leave no block behind" {
  {
    echo "$device"
    seq "$ALARMS" | jq -c '{type: "Alarm", payload: {reqId: (. + 1), requiresResponse: true, source: {id: "2504001"},
                            type: "t\(.)", text: "x", severity: "MINOR", time: (1700000000 + .)}}'
  } >alarms.jsonl
  run_chain run alarms.jsonl --ledger ledger --json-report report.json
  [ "$status" -eq 0 ]
  expect '.eventsOut["com.kelvo.marlovance.ObjectCommitted"]' "$((ALARMS + 1))"
  expect '.answers["201"]' "$((ALARMS + 1))"
  expect .liveBlocks 0
  [ "$(jq .reqId out | sort -nu | wc -l)" -eq "$((ALARMS + 1))" ]
}

@test "standard output holds nothing but events" {
  printf '%s\nnot json\n' "$device" | "$CHAIN" run --log-level debug >out 2>err
  [ "$(wc -l <out)" -eq 1 ]
  [ "$(jq -r .type out)" = com.kelvo.marlovance.ObjectCommitted ]
}

@test "standard input is read as it comes" {
  mkfifo events
  "$CHAIN" run - <events >out 2>err &
  local chain=$!
  started+=("$chain")
  exec 7>events
  echo '{"type": "ManagedObject", "payload": {"reqId": 5, "requiresResponse": true}}' >&7
  until [ -s out ]; do sleep 0.02; done
  [ "$(jq .reqId out)" -eq 5 ]
  exec 7>&-
  wait "$chain"
}

@test "a platform that is not there gives every event its outcome" {
  export MARLOVANCE_USERNAME=u MARLOVANCE_PASSWORD=p
  start_sim
  kill "$sim"
  wait "$sim" || true
  for i in 1 2 3; do echo "{\"type\": \"Alarm\", \"payload\": {\"reqId\": $i, \"requiresResponse\": true, \"source\": {\"id\": \"1\"}}}"; done >events
  echo '{"type": "Alarm", "payload": {"source": {"id": "1"}}}' >>events
  run_chain run events --platform "$platform" --json-report report.json
  [ "$status" -eq 0 ]
  expect .answers '{"502 transport/noConnection":4}'
  expect .eventsOut '{"com.kelvo.marlovance.Error":1,"com.kelvo.marlovance.ObjectCommitFailed":3}'
  [ "$(jq -r 'select(.reqId == 2) | .payload.error' out)" = transport/noConnection ]
}

@test "wrong credentials are an outcome" {
  start_sim
  export MARLOVANCE_USERNAME=fleet MARLOVANCE_PASSWORD=wrong
  echo "$device" | "$CHAIN" run --platform "$platform" --json-report report.json >out 2>err
  expect .answers '{"401":1}'
  expect .eventsOut '{"com.kelvo.marlovance.ObjectCommitFailed":1}'
}

@test "a simulator of its own is served like a platform" {
  start_sim
  export MARLOVANCE_USERNAME=fleet MARLOVANCE_PASSWORD=fleet-secret
  echo "$device" | "$CHAIN" run --platform "$platform/" >out 2>err
  [ "$(read_platform /registry/managed-objects/2504001 | jq -r .name)" = d ]
}

@test "secrets stand in no log" {
  start_sim
  export MARLOVANCE_USERNAME=fleet MARLOVANCE_PASSWORD=fleet-secret
  echo "$device" | "$CHAIN" run --platform "$platform" --log-level debug >out 2>err
  grep -q 'authorization:' err
  lacks fleet-secret err out
  lacks "$(printf 'fleet:fleet-secret' | base64)" err out
}

@test "a password file serves in place of the variable" {
  start_sim
  echo fleet-secret >password
  export MARLOVANCE_USERNAME=fleet MARLOVANCE_PASSWORD_FILE=$PWD/password
  echo "$device" | "$CHAIN" run --platform "$platform" --json-report report.json >out 2>err
  expect .answers '{"201":1}'
}

@test "an interrupted run waits for its answers, prints the table and says so" {
  mkfifo events
  "$CHAIN" run events >out 2>err &
  local chain=$! code=0
  started+=("$chain")
  exec 7>events
  echo "$device" >&7
  until [ -s out ]; do sleep 0.02; done
  kill -INT "$chain"
  wait "$chain" || code=$?
  exec 7>&-
  [ "$code" -eq 130 ]
  grep -qE '^Events in +1$' err
  grep -qFx 'The run was interrupted.' err
}

@test "quiet leaves out the table and keeps the messages" {
  printf '%s\nnot json\n' "$device" | "$CHAIN" run --quiet >out 2>err
  [ "$(cat err)" = 'standard input:3:1: syntax error: a value is expected' ] || { cat err; return 1; }
}

@test "an output that fails ends the run" {
  local code=0
  echo "$device" | "$CHAIN" run --quiet >/dev/full 2>err || code=$?
  [ "$code" -eq 1 ]
  [ "$(cat err)" = "marlovance-chain: Standard output can't be written: No space left on device" ]
}

@test "a chain file changes the plug-in's configuration and the mapping" {
  cat >chain.yaml <<'YAML'
plugin:
  configuration: {notificationsChannelPrefix: "fleet/", tenantId: t17}
events:
  example.Device:
    method: POST
    path: /registry/managed-objects
YAML
  echo "$device" | "$CHAIN" run --chain chain.yaml >out 2>err
  [ "$(jq -r '.payload.tenantId' out)" = t17 ]
  # A type that the mapping knows and the plug-in doesn't costs a log line.
  echo '{"type": "Device", "payload": {}}' | "$CHAIN" run --chain chain.yaml --quiet >out 2>err
  grep -q 'NoTypeFound' err
  [ ! -s out ]
}
