#!/usr/bin/env bats
# The query story: questions to ten thousand devices.

load helpers

# Plays the story, once for all tests of this file, and brings out, err and report.json of it.
play() {
  if [ ! -e "$BATS_FILE_TMPDIR/report.json" ]; then
    run_chain run "$SOURCE/examples/query-story.jsonl" --ledger ledger --json-report report.json
    [ "$status" -eq 0 ]
    cp out err report.json "$BATS_FILE_TMPDIR"
  fi
  cp "$BATS_FILE_TMPDIR"/{out,err,report.json} .
}

# answers REQID: the field of each event of a question that bears what was found.
answers() { jq -c "select(.reqId == $1) | .payload | .managedObject // .alarm // empty" out; }

# ids FIRST STEP LAST
ids() { seq "$1" "$2" "$3" | jq -cs 'map(tostring)'; }

# same IDS FILE: the documents in the file have these ids, in this order.
same() { diff <(jq -r '.[]' <<<"$1") <(jq -r .id "$2"); }

@test "the small answers of the query story are as expected, and each question ends once" {
  play
  jq -c 'select(.type | test("FindManagedObjectResponse$|FindAlarmResponse$|\\.ManagedObject$") | not) ' out >small
  jq -c 'select(.reqId == 12 or .reqId == 13)' out | jq -c 'select(.type | test("Ack$") | not)' >>small
  diff <(comparable "$SOURCE/examples/query-story.expected.jsonl") <(comparable small)
}

@test "all meters are found in ascending order, walked by id" {
  play
  answers 10 >meters
  same "$(ids 2504003 4 2514000)" meters
  [ "$(jq -r .type meters | sort -u)" = meter ]
}

@test "a question that speaks of ids finds what it asks for" {
  play
  answers 11 >gateways
  same "$(ids 2504004 4 2504100)" gateways
}

@test "alarms are found by severity, status and time" {
  play
  answers 20 >critical
  # Severities go in fours and statuses in threes.
  same "$(ids 2514201 12 2516200)" critical
  [ "$(jq -c '[.severity, .status]' critical | sort -u)" = '["CRITICAL","ACTIVE"]' ]
  answers 21 >major
  same "$(ids 2514202 4 2514260)" major
  [ "$(jq -c .severity major | sort -u)" = '"MAJOR"' ]
}

@test "all devices come on the requester's channel, and no part among them" {
  play
  jq -c 'select(.type == "com.kelvo.marlovance.ManagedObject") | [.channel, .payload.id]' out >devices
  [ "$(jq -r '.[0]' devices | sort -u)" = fleet.all ]
  diff <(seq 2504001 2514000) <(jq -r '.[1]' devices)
}

@test "the report of the query story tells its numbers" {
  play
  expect .liveBlocks 0
  expect '.eventsOut["com.kelvo.marlovance.ManagedObject"]' 10000
  expect '.eventsOut["com.kelvo.marlovance.FindManagedObjectResponse"]' 2529
  expect .refusedLines 0
}
