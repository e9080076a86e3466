#!/usr/bin/env bats
# Walks from page to page as `marlovance-chain run` bounds and shows them.

load helpers

fleet='{"type": "GenericRequest", "payload": {"reqId": 1, "method": "POST", "path": "/admin/fleet", "contentType": "application/json", "body": {"devices": 9}}}
{"wait": true}'

# The final event of query 2.
final_event() { jq -cS 'select(.reqId == 2 and (.type | endswith("Ack"))) | .payload' out; }

@test "a walk of more pages than it may have ends with an error" {
  printf '%s\n{"type": "FindManagedObject", "payload": {"reqId": 2, "params": {"pageSize": 2}}}\n' "$fleet" >events
  run_chain run events --pages-per-walk 3 --json-report report.json --ledger ledger
  [ "$status" -eq 0 ]
  [ "$(jq -r 'select(.reqId == 2) | .payload.managedObject.id // empty' out | tr '\n' ' ')" = '2504001 2504002 2504003 2504004 2504005 2504006 ' ]
  [ "$(final_event)" = '{"error":true,"errorDetails":"GET /registry/managed-objects?currentPage=4&pageSize=2&withTotalPages=true: the walk may not have more than 3 pages; nothing was sent","reqId":2,"statusCode":400}' ] || { final_event; return 1; }
  expect .answers '{"200":3,"201":1,"400 transport/tooManyPages":1}'
  expect .liveBlocks 0
}

@test "a walk that stands still is told once, and ends at its bound" {
  # By id with one element a page the codec asks for the same page again and again.
  printf '%s\n{"type": "FindManagedObject", "payload": {"reqId": 2, "params": {"query": "has(device)", "pageSize": 1}}}\n' "$fleet" >events
  run_chain run events --pages-per-walk 50 --json-report report.json
  [ "$status" -eq 0 ]
  [ "$(grep -c 'FindManagedObject 2 asks for the same page for the third time in a row: GET /registry/managed-objects?' err)" -eq 1 ]
  expect .answers '{"200":50,"201":1,"400 transport/tooManyPages":1}'
  [ "$(final_event | jq -c '[.error, .statusCode]')" = '[true,400]' ]
}

@test "the chain file bounds a walk as well" {
  echo 'transport: {pagesPerWalk: 5}' >chain.yaml
  printf '%s\n{"type": "FindManagedObject", "payload": {"reqId": 2, "params": {"pageSize": 2}}}\n' "$fleet" >events
  run_chain run events --chain chain.yaml --json-report report.json
  expect .answers '{"200":5,"201":1}'
  [ "$(final_event)" = '{"error":false,"errorDetails":"","reqId":2,"statusCode":200}' ]
}

@test "a bound that is none is refused" {
  run_chain run --pages-per-walk 0 </dev/null
  [ "$status" -eq 2 ]
  grep -q '^marlovance-chain: --pages-per-walk: Value 0 not in range' err
}

@test "the progress line shows a walk with its page and its elements" {
  start_sim
  export MARLOVANCE_USERNAME=fleet MARLOVANCE_PASSWORD=fleet-secret
  post_platform /admin/fleet '{"devices": 9}' >/dev/null
  post_platform /admin/faults '{"path": "/registry", "skip": 2, "delayMs": 1500}' >/dev/null
  echo '{"type": "FindManagedObject", "payload": {"reqId": 2, "params": {"pageSize": 2}}}' >events
  # A terminal of its own, since only there is a progress line.
  script -qec "stty cols 200; $CHAIN run events --platform $platform" terminal >/dev/null </dev/null
  grep -qF 'walks 1: FindManagedObject 2 page 3, 4 elements' terminal || { cat terminal; return 1; }
}
