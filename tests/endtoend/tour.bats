#!/usr/bin/env bats
# The tour: every event type, what succeeds and what fails, and a stream of measurements that goes out merged.

load helpers

# play ARGUMENTS...: the tour with the stream behind it.
play() {
  { cat "$SOURCE/examples/tour.jsonl"; "$SOURCE/examples/measurement-stream"; } >events
  run_chain run events --ledger strict --json-report report.json "$@"
  [ "$status" -eq 0 ]
}

play_on_a_simulator() {
  start_sim
  export MARLOVANCE_USERNAME=fleet MARLOVANCE_PASSWORD=fleet-secret
  play --platform "$platform" "$@"
}

@test "the tour gives the expected events, and the stream none" {
  play
  diff <(comparable "$SOURCE/examples/tour.expected.jsonl") <(comparable out)
}

@test "the tour's table has a row for each of the seventeen event types" {
  play --batch 1000
  expect .eventsIn '{"com.kelvo.marlovance.Alarm":2,"com.kelvo.marlovance.Event":2,"com.kelvo.marlovance.FindAlarm":2,"com.kelvo.marlovance.FindEvent":2,"com.kelvo.marlovance.FindManagedObject":2,"com.kelvo.marlovance.FindMeasurement":2,"com.kelvo.marlovance.FindOperation":2,"com.kelvo.marlovance.FindTenantOptions":3,"com.kelvo.marlovance.GenericRequest":9,"com.kelvo.marlovance.GetCurrentUser":2,"com.kelvo.marlovance.ManagedObject":4,"com.kelvo.marlovance.Measurement":10005,"com.kelvo.marlovance.MeasurementFragment":2,"com.kelvo.marlovance.Operation":2,"com.kelvo.marlovance.RequestAllDevices":2,"com.kelvo.marlovance.SendEmail":2,"com.kelvo.marlovance.SendSMS":2}'
  expect .liveBlocks 0
  for row in 'Alarm +2' 'Event +2' 'FindAlarm +2' 'FindEvent +2' 'FindManagedObject +2' 'FindMeasurement +2' \
      'FindOperation +2' 'FindTenantOptions +3' 'GenericRequest +9' 'GetCurrentUser +2' 'ManagedObject +4' \
      'Measurement +10005' 'MeasurementFragment +2' 'Operation +2' 'RequestAllDevices +2' 'SendEmail +2' 'SendSMS +2'; do
    sed -n '/^Events in/,/^Lines refused/p' err | grep -qE "^  $row$" || { echo "no row $row"; cat err; return 1; }
  done
  [ "$(sed -n '/^Events in/,/^Lines refused/p' err | grep -c '^  ')" -eq 17 ]
}

@test "the stream goes out in as many requests as it has batches" {
  play_on_a_simulator --batch 1000
  read_platform '/admin/journal?limit=1000' |
    jq -c '[.requests[] | select(.target == "/measurement/measurements") | .body | fromjson | .measurements | arrays | length]' >sizes
  # The two pairs of the tour come first.
  [ "$(cat sizes)" = '[2,2,1000,1000,1000,1000,1000,1000,1000,1000,1000,1000]' ] || { cat sizes; return 1; }
}

@test "stores and outboxes hold what the tour says" {
  play_on_a_simulator --batch 1000
  [ "$(read_platform /admin/counts | jq -cS .)" = \
    '{"SMS":2,"alarms":1,"e-mails":1,"events":1,"managed objects":2,"measurements":10004,"operations":1}' ]
  [ "$(read_platform /admin/outbox/sms | jq -cS '[.. | objects | select(has("senderName")) | [.address[0], .senderAddress, .senderName, .outboundSMSTextMessage.message]] | sort')" = \
    '[["tel:+4412345","tel:kelvo","Kelvo","Bearing at 91 degrees"],["tel:+4412346","tel:kelvo","Kelvo","Bearing at 91 degrees"]]' ]
  [ "$(read_platform /admin/outbox/email | jq -c '[.. | objects | select(has("subject")) | [.to, .bcc, .subject, .text]]')" = \
    '[[["jane@example.com"],["jim@example.com","joe@example.com"],"Overheated","Bearing at 91 degrees"]]' ]
  [ "$(read_platform /registry/managed-objects/2504002 | jq -r .name)" = 'Pump at the lock' ]
  [ "$(read_platform /service/plans/winter | jq -cS .)" = '{"from":9.5,"id":"winter","to":3}' ]
}

@test "all requests of the tour reach the platform but those whose path leaves it" {
  play_on_a_simulator --batch 1000
  expect '.answers["400 transport/refused"]' 2
  [ "$(read_platform '/admin/journal?limit=1000' | jq '.requests | length')" -eq "$(jq '.requests - 2' report.json)" ]
}
