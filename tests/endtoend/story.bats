#!/usr/bin/env bats
# The fleet story: events through the plug-in into the embedded simulator and back.

load helpers

story() { echo "$SOURCE/examples/fleet-story.jsonl"; }

@test "the fleet story gives the expected events" {
  run_chain run "$(story)" --ledger strict --json-report report.json
  [ "$status" -eq 0 ]
  diff <(comparable "$SOURCE/examples/fleet-story.expected.jsonl") <(comparable out)
}

@test "the fleet story gives the same events with one request at a time and one event a batch" {
  run_chain run "$(story)" --in-flight 1 --batch 1 --quiet
  [ "$status" -eq 0 ]
  diff <(comparable "$SOURCE/examples/fleet-story.expected.jsonl") <(comparable out)
}

@test "the report of the fleet story tells its numbers" {
  run_chain run "$(story)" --ledger strict --json-report report.json
  expect .eventsIn '{"com.kelvo.marlovance.Alarm":8,"com.kelvo.marlovance.Event":6,"com.kelvo.marlovance.ManagedObject":4,"com.kelvo.marlovance.Operation":5}'
  expect .eventsOut '{"com.kelvo.marlovance.Error":2,"com.kelvo.marlovance.ObjectCommitFailed":2,"com.kelvo.marlovance.ObjectCommitted":16}'
  expect .answers '{"200":7,"201":12,"404":1,"422":2}'
  expect .refusedLines 4
  expect .requests 22
  expect .liveBlocks 0
  expect .interrupted false
  expect '.statusItems | keys' '["fleet.codec.maxLatencyInLastHourDetails","fleet.codec.maxLatencyInLastHourMillis","fleet.codec.mostRecentSlowRequestDetails","fleet.codec.requestLatencyEWMALongMillis","fleet.codec.requestLatencyEWMAShortMillis"]'
}

@test "each bad line of the fleet story is told with file, line, column and reason" {
  run_chain run "$(story)"
  for line in ':66:68: syntax error: a value is expected' ':67:1: unknown event type "Alert"' \
      ':68:1: requiresResponse needs a reqId' ':69:1: reqId is not an integer but double'; do
    grep -qFx "$(story)$line" err
  done
}

@test "the closing table shows events, answers, latencies, status items and the ledger" {
  run_chain run "$(story)" --ledger ledger
  for row in 'Events in +23' '  Alarm +8' 'Lines refused +4' 'Requests +22' '  201 +12' '  ObjectCommitted +16' \
      'Latency in milliseconds +p50 .* p90 .* p99 .* max ' '  requestLatencyEWMAShortMillis +[0-9]+' \
      'Peak memory +[0-9.]+ MiB' 'Block ledger +0 blocks left'; do
    grep -qE "^$row" err || { echo "no row $row"; cat err; return 1; }
  done
}

@test "what was acknowledged can be read back from the store" {
  run_chain run "$(story)" --database fleet.sqlite --quiet
  [ "$status" -eq 0 ]
  start_sim --database fleet.sqlite
  [ "$(read_platform /registry/managed-objects/2504002 | jq -c '[.name, .type, .serial]')" = '["Pump north, rebuilt","pump","P-0017"]' ]
  [ "$(read_platform /alarm/alarms/2504004 | jq -c '[.status, .count, .severity, .source.id]')" = '["CLEARED",2,"CRITICAL","2504002"]' ]
  [ "$(read_platform /event/events/2504008 | jq -c '[.technician.name, .time]')" = '["Zoë","2026-11-21T00:05:00.250Z"]' ]
  [ "$(read_platform /operation/operations/2504009 | jq -r .status)" = SUCCESSFUL ]
  [ "$(read_platform /operation/operations/2504010 | jq -r .status)" = FAILED ]
}
