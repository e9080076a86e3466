#!/usr/bin/env bats
# What can't be done is told in one line, with an exit code of its own.

load helpers

@test "an unknown option" {
  fails_with 2 'marlovance-chain: The following argument was not expected: --colour' run --colour
}

@test "no verb" { fails_with 2 'marlovance-chain: A subcommand is required'; }

@test "a value out of range" {
  run_chain run --batch 0
  [ "$status" -eq 2 ]
  grep -q '^marlovance-chain: --batch: Value 0 not in range' err
  [ "$(wc -l <err)" -eq 1 ]
}

@test "an input that is not there" {
  fails_with 2 'marlovance-chain: /nowhere/events: No such file or directory' run /nowhere/events
}

@test "an input that can't be read" { fails_with 2 'marlovance-chain: /: Is a directory' run / --quiet; }

@test "a chain file that is not there" {
  fails_with 2 'marlovance-chain: nowhere.yaml: No such file or directory' run --chain nowhere.yaml
}

@test "a chain file with an unknown key" {
  printf 'transport:\n  retires: 3\n' >chain.yaml
  fails_with 2 'marlovance-chain: chain.yaml:2: transport/retires: unknown key' run --chain chain.yaml
}

@test "a platform without credentials" {
  fails_with 2 'marlovance-chain: A platform needs MARLOVANCE_USERNAME and MARLOVANCE_PASSWORD (or MARLOVANCE_PASSWORD_FILE) in the environment' \
    run --platform http://127.0.0.1:1
}

@test "a database for a platform that has its own" {
  fails_with 2 'marlovance-chain: --database is for the embedded simulator, and there is a platform' \
    run --platform http://127.0.0.1:1 --database fleet.sqlite
}

@test "an address that is no platform's" {
  export MARLOVANCE_USERNAME=u MARLOVANCE_PASSWORD=p
  fails_with 2 "marlovance-chain: The platform's address ftp://host: only http and https are possible, not ftp" \
    run --platform ftp://host
}

@test "a plug-in that is not there" {
  fails_with 3 "marlovance-chain: /nowhere.so: can't be loaded: /nowhere.so: cannot open shared object file: No such file or directory" \
    run --plugin /nowhere.so
}

@test "a plug-in without an entry point" {
  fails_with 3 "marlovance-chain: $PLUGINS/libplugin_without_start.so: the entry point qel_plugin_start_MarlovanceCodec is missing" \
    run --plugin "$PLUGINS/libplugin_without_start.so"
}

@test "a plug-in of another API version" {
  fails_with 3 "marlovance-chain: $PLUGINS/libplugin_api_version_3.so: has API version 3, and 4 is needed" \
    run --plugin "$PLUGINS/libplugin_api_version_3.so"
}

@test "a configuration that the plug-in refuses" {
  printf 'plugin:\n  configuration: {maxBatchSise: 3}\n' >chain.yaml
  run_chain run --chain chain.yaml </dev/null
  [ "$status" -eq 3 ]
  grep -q 'Exception from create: Unknown configuration element maxBatchSise in MarlovanceCodec' err
  grep -q '^marlovance-chain: .*: refuses its configuration (see the log line above)$' err
}

@test "a database that the simulator can't open" {
  run_chain run --database /nowhere/fleet.sqlite </dev/null
  [ "$status" -eq 4 ]
  [ "$(wc -l <err)" -eq 1 ]
  grep -q '^marlovance-chain: .*/nowhere/fleet.sqlite' err
}

@test "a port that is taken" {
  start_sim
  run_chain sim --port "${platform##*:}"
  [ "$status" -eq 4 ]
  grep -q '^marlovance-chain: ' err
}

@test "help and version are no failures" {
  run_chain --help
  [ "$status" -eq 0 ]
  grep -q 'Exit codes' out
  run_chain --version
  [ "$status" -eq 0 ]
  [ "$(cat out)" = 10.15.4.1 ]
}
