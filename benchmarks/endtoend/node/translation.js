// The codec's translation by hand, for the three event types that the benchmark plays: the same fields dropped, the same
// times converted, the same requests, the same events.

const HOST_ONLY = new Set([
  '.kelvo_notificationType',
  'source.name',
  'source.value',
  'source.id',
  'source.self',
  'source.type',
]);
const FOR_THE_CHAIN = new Set(['reqId', 'requiresResponse', 'responseChannel']);
const DROPPED_WHEN_EMPTY = new Set(['source', 'type', 'time', 'text', 'status', 'severity']);
const TYPE = 'application/vnd.com.rdx.marlovance';

function isEmpty(value) {
  if (value === null || value === '') return true;
  if (typeof value !== 'object') return false;
  for (const _ in value) return false;
  return true;
}

/// TZ is UTC, so that Z is the zone of every time.
function timeText(seconds) {
  return new Date(Number(seconds) * 1000).toISOString();
}

function seconds(text) {
  const millis = typeof text === 'string' ? Date.parse(text) : NaN;
  return Number.isNaN(millis) ? 0 : millis / 1000;
}

function parseTimes(document) {
  if (document.time !== undefined) document.time = seconds(document.time);
  if (document.creationTime !== undefined) document.creationTime = seconds(document.creationTime);
  if (document.lastUpdated !== undefined) document.lastUpdated = seconds(document.lastUpdated);
  if (document.firstOccurrenceTime !== undefined) document.firstOccurrenceTime = seconds(document.firstOccurrenceTime);
  return document;
}

function writeRequest(path, body, contentType, authorization) {
  return {
    method: 'POST',
    path,
    headers: ['authorization', authorization, 'accept', 'application/json', 'content-type', contentType],
    body: JSON.stringify(body),
  };
}

// ------------------------------------------------------------------------------------------------------------ alarms --

export function alarmRequest(payload, authorization) {
  const body = {};
  for (const name in payload) {
    if (FOR_THE_CHAIN.has(name) || HOST_ONLY.has(name)) continue;
    const value = payload[name];
    if (!DROPPED_WHEN_EMPTY.has(name) || !isEmpty(value)) body[name] = value;
  }
  if (body.time !== undefined) body.time = timeText(body.time);
  return writeRequest('/alarm/alarms', body, `${TYPE}.alarm+json`, authorization);
}

export function alarmCommitted({ reqId, responseChannel }, document) {
  return {
    type: 'com.kelvo.marlovance.ObjectCommitted',
    channel: responseChannel,
    reqId,
    object: 'com.kelvo.marlovance.Alarm',
    payload: parseTimes(document),
  };
}

// ------------------------------------------------------------------------------------------------------ measurements --

export function mergedMeasurement(payload) {
  const body = {};
  for (const name in payload) {
    if (name === 'measurements' || FOR_THE_CHAIN.has(name) || HOST_ONLY.has(name)) continue;
    if (name !== 'source' || !isEmpty(payload.source)) body[name] = payload[name];
  }
  if (body.time !== undefined) body.time = timeText(body.time);
  for (const name in payload.measurements) {
    const fragment = payload.measurements[name];
    for (const series in fragment) if (isEmpty(fragment[series].unit)) delete fragment[series].unit;
    body[name] ??= fragment;
  }
  return body;
}

export function mergedRequest(measurements, authorization) {
  return writeRequest('/measurement/measurements', { measurements }, `${TYPE}.measurementcollection+json`, authorization);
}

// ------------------------------------------------------------------------------------------------------------- walks --

/// The first page is asked for without a number.
export function pageRequest({ pageSize }, page, authorization) {
  const current = page === null ? '' : `currentPage=${page}&`;
  return {
    method: 'GET',
    path: `/measurement/measurements?${current}pageSize=${pageSize}&withTotalPages=true`,
    headers: ['authorization', authorization, 'accept', 'application/json'],
  };
}

function isFragment(value) {
  if (value === null || typeof value !== 'object' || Array.isArray(value)) return false;
  for (const name in value) {
    const series = value[name];
    if (series !== null && typeof series === 'object' && series.value !== undefined) return true;
  }
  return false;
}

/// The document with its fragments gathered and its times parsed.
function measurement(document) {
  const result = {};
  const measurements = {};
  for (const name in document) (isFragment(document[name]) ? measurements : result)[name] = document[name];
  result.measurements = measurements;
  return parseTimes(result);
}

export function* pageResults({ reqId }, answer) {
  for (const document of answer.measurements)
    yield {
      type: 'com.kelvo.marlovance.FindMeasurementResponse',
      channel: 'marlovance.findmeasurement.response',
      reqId,
      payload: { measurement: measurement(document), reqId },
    };
}

export function walkEnded({ reqId }) {
  return {
    type: 'com.kelvo.marlovance.FindMeasurementResponseAck',
    channel: 'marlovance.findmeasurement.response',
    reqId,
    payload: { error: false, errorDetails: '', reqId, statusCode: 200 },
  };
}
