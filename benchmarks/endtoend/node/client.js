// What the chain runner does with its built-in chain, written by hand for Node.js: events come in as JSON Lines, go out as
// requests, and the answers leave as lines of events.
//
//     node client.js FILE URL MERGED
//
// FILE "-" is standard input; MERGED tells how many measurements go out as one request. The credentials come from
// MARLOVANCE_USERNAME and MARLOVANCE_PASSWORD.
import { createReadStream } from 'node:fs';
import { Pool } from 'undici';

import {
  alarmCommitted,
  alarmRequest,
  mergedMeasurement,
  mergedRequest,
  pageRequest,
  pageResults,
  walkEnded,
} from './translation.js';

const CONNECTIONS = 8;
const MOST_IN_FLIGHT = 64;
const FLUSH_AT = 1 << 16;

const [file, url, merged] = process.argv.slice(2);
const { MARLOVANCE_USERNAME: user, MARLOVANCE_PASSWORD: password } = process.env;
const authorization = `Basic ${Buffer.from(`${user}:${password}`).toString('base64')}`;
const pool = new Pool(url, { connections: CONNECTIONS, pipelining: 1 });

// ------------------------------------------------------------------------------------------------------------ output --

let lines = '';
let flushIsDue = false;

function flush() {
  flushIsDue = false;
  if (lines) process.stdout.write(lines);
  lines = '';
}

function emit(event) {
  lines += JSON.stringify(event) + '\n';
  if (lines.length > FLUSH_AT) flush();
  else if (!flushIsDue) {
    flushIsDue = true;
    setImmediate(flush);
  }
}

// ---------------------------------------------------------------------------------------------------------- requests --

let inFlight = 0;
let wake = () => {};

/// Takes an answer in; with a `receive` of null only its status matters.
class Exchange {
  constructor(receive) {
    this.receive = receive;
    this.chunks = [];
  }

  onRequestStart() {}

  onResponseStart(controller, statusCode) {
    this.status = statusCode;
  }

  onResponseData(controller, chunk) {
    if (this.receive) this.chunks.push(chunk);
  }

  onResponseEnd() {
    if (this.status !== 200 && this.status !== 201) throw new Error(`the answer's status is ${this.status}`);
    if (this.receive) this.receive(JSON.parse(this.body().toString()));
    --inFlight;
    wake();
  }

  body() {
    return this.chunks.length === 1 ? this.chunks[0] : Buffer.concat(this.chunks);
  }

  onResponseError(controller, error) {
    process.stderr.write(`client.js: ${error.message}\n`);
    process.exit(1);
  }
}

function send(request, receive) {
  ++inFlight;
  pool.dispatch(request, new Exchange(receive));
}

function below(limit) {
  return new Promise((resolve) => {
    wake = () => {
      if (inFlight >= limit) return;
      wake = () => {};
      resolve();
    };
    wake();
  });
}

// ------------------------------------------------------------------------------------------------------------ events --

let pending = [];

function sendMerged() {
  if (pending.length > 0) send(mergedRequest(pending, authorization), null);
  pending = [];
}

function walk(query, page) {
  send(pageRequest(query, page, authorization), (answer) => {
    for (const event of pageResults(query, answer)) emit(event);
    const { currentPage, totalPages } = answer.statistics;
    const isLast = answer.measurements.length < query.pageSize || currentPage >= totalPages;
    if (isLast) emit(walkEnded(query));
    else walk(query, currentPage + 1);
  });
}

function take({ type, payload }) {
  switch (type) {
    case 'Alarm':
      return send(alarmRequest(payload, authorization), (answer) => emit(alarmCommitted(payload, answer)));
    case 'Measurement':
      pending.push(mergedMeasurement(payload));
      return pending.length >= merged ? sendMerged() : undefined;
    case 'FindMeasurement':
      return walk({ reqId: payload.reqId, ...payload.params }, null);
    default:
      throw new Error(`unknown type ${type}`);
  }
}

async function run() {
  let rest = '';
  const input = createReadStream(file, { encoding: 'utf8', fd: file === '-' ? 0 : undefined, highWaterMark: 1 << 16 });
  for await (const chunk of input) {
    const text = rest + chunk;
    let start = 0;
    for (let end; (end = text.indexOf('\n', start)) >= 0; start = end + 1) {
      take(JSON.parse(text.slice(start, end)));
      if (inFlight >= MOST_IN_FLIGHT) await below(MOST_IN_FLIGHT);
    }
    rest = text.slice(start);
  }
  sendMerged();
  await below(1);
  flush();
  await pool.close();
}

await run();
