#!/usr/bin/env bats
# What order the requests of a chain keep: mixed reads and writes of fifty devices, among answers that get lost.

load helpers

devices=50

# play MODE: the mixed traffic through a chain of that concurrency mode, against a platform that loses answers.
play() {
  start_sim
  export MARLOVANCE_USERNAME=fleet MARLOVANCE_PASSWORD=fleet-secret
  post_platform /admin/fleet "{\"devices\": $devices}" >/dev/null
  # Of a hundred requests three are lost on their way, and three more after they took effect.
  post_platform /admin/faults '{"times": 0, "probability": 0.03, "seed": 1, "ending": "reset"}' >/dev/null
  post_platform /admin/faults '{"times": 0, "probability": 0.03, "seed": 2, "ending": "closed", "takesEffect": true}' >/dev/null
  printf 'plugin: {configuration: {concurrencyMode: %s}}\ntransport: {retries: 10, retryDelayMilliseconds: 1}\n' "$1" >chain.yaml
  python3 "$SOURCE/tests/endtoend/mixed_traffic.py" events "$MIXED" "$devices" >events
  run_chain run events --platform "$platform" --chain chain.yaml --ledger ledger --json-report report.json --quiet
  [ "$status" -eq 0 ]
  expect .requests "$MIXED"
  expect .answers "{\"200\":$MIXED}"
  expect .liveBlocks 0
}

@test "automatic concurrency keeps the order of each device and lets a read see the writes before it" {
  play auto
  read_platform '/admin/journal?limit=20000' >journal.json
  python3 "$SOURCE/tests/endtoend/mixed_traffic.py" check events journal.json out
}

@test "full concurrency loses nothing" {
  play always
  python3 "$SOURCE/tests/endtoend/mixed_traffic.py" check events none out
}

# play_behind_a_slow_one MODE: five updates of five devices, of which the first is answered late.
play_behind_a_slow_one() {
  start_sim
  export MARLOVANCE_USERNAME=fleet MARLOVANCE_PASSWORD=fleet-secret
  post_platform /admin/fleet '{"devices": 5}' >/dev/null
  post_platform /admin/faults '{"method": "PUT", "path": "/registry/managed-objects/2504001", "delayMs": 500}' >/dev/null
  printf 'plugin: {configuration: {concurrencyMode: %s}}\n' "$1" >chain.yaml
  for i in 1 2 3 4 5; do
    echo "{\"type\": \"ManagedObject\", \"payload\": {\"reqId\": $i, \"requiresResponse\": true, \"id\": \"$((2504000 + i))\"}}"
  done >events
  run_chain run events --platform "$platform" --chain chain.yaml --quiet
  [ "$status" -eq 0 ]
}

@test "full concurrency lets requests pass a slow one" {
  play_behind_a_slow_one always
  [ "$(tail -1 out | jq .reqId)" -eq 1 ]
}

@test "automatic concurrency lets nothing pass a barrier" {
  # The first write of a run changes from reading to writing, so it is one.
  play_behind_a_slow_one auto
  [ "$(head -1 out | jq .reqId)" -eq 1 ]
}
