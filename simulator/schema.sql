-- One table for each kind of resource. A document is stored whole, as JSON text without its links; the columns behind it
-- are read out of the document, so that they can be searched and indexed but never disagree with it. Ids are compared as
-- text. Those that the store gives ascend as text too, since all have seven digits: from 2504001 to 9999999.

-- With row ids, so that an index alone counts a walk's remainder: behind virtual columns of a table without them, SQLite
-- reads each document for that.
CREATE TABLE managed_objects (
  id TEXT PRIMARY KEY,
  document TEXT NOT NULL,
  type TEXT GENERATED ALWAYS AS (document ->> '$.type') VIRTUAL,
  name TEXT GENERATED ALWAYS AS (document ->> '$.name') VIRTUAL,
  owner TEXT GENERATED ALWAYS AS (document ->> '$.owner') VIRTUAL
);
CREATE INDEX managed_objects_by_type ON managed_objects (type, id);
CREATE INDEX managed_objects_by_owner ON managed_objects (owner, id);

CREATE TABLE alarms (
  id TEXT PRIMARY KEY,
  document TEXT NOT NULL,
  source TEXT GENERATED ALWAYS AS (document ->> '$.source.id') VIRTUAL,
  type TEXT GENERATED ALWAYS AS (document ->> '$.type') VIRTUAL,
  status TEXT GENERATED ALWAYS AS (document ->> '$.status') VIRTUAL,
  severity TEXT GENERATED ALWAYS AS (document ->> '$.severity') VIRTUAL
);
CREATE INDEX alarms_by_severity ON alarms (severity, status, id);
CREATE INDEX alarms_by_source ON alarms (source, id);

CREATE TABLE events (
  id TEXT PRIMARY KEY,
  document TEXT NOT NULL,
  source TEXT GENERATED ALWAYS AS (document ->> '$.source.id') VIRTUAL,
  type TEXT GENERATED ALWAYS AS (document ->> '$.type') VIRTUAL
) WITHOUT ROWID;

CREATE TABLE operations (
  id TEXT PRIMARY KEY,
  document TEXT NOT NULL,
  device TEXT GENERATED ALWAYS AS (document ->> '$.deviceId') VIRTUAL,
  status TEXT GENERATED ALWAYS AS (document ->> '$.status') VIRTUAL
) WITHOUT ROWID;

-- Measurements come in by the million: the one index serves the question for a device's own.
CREATE TABLE measurements (
  id TEXT PRIMARY KEY,
  document TEXT NOT NULL,
  source TEXT GENERATED ALWAYS AS (document ->> '$.source.id') VIRTUAL,
  type TEXT GENERATED ALWAYS AS (document ->> '$.type') VIRTUAL
) WITHOUT ROWID;
CREATE INDEX measurements_by_source ON measurements (source);

-- What was sent: one table for each kind of message.
CREATE TABLE sms (
  id TEXT PRIMARY KEY,
  document TEXT NOT NULL,
  sender TEXT GENERATED ALWAYS AS (document ->> '$.senderAddress') VIRTUAL
) WITHOUT ROWID;
CREATE INDEX sms_by_sender ON sms (sender);

CREATE TABLE emails (
  id TEXT PRIMARY KEY,
  document TEXT NOT NULL
) WITHOUT ROWID;

-- What clients put below "/service": "/weather/today" has the parent "/weather" and the name "today".
CREATE TABLE service_documents (
  parent TEXT NOT NULL,
  name TEXT NOT NULL,
  content_type TEXT NOT NULL,
  body TEXT NOT NULL,
  is_json INTEGER NOT NULL,
  PRIMARY KEY (parent, name)
) WITHOUT ROWID;
INSERT INTO service_documents VALUES ('', 'motd', 'text/plain', 'Welcome to the platform.', 0);

-- An active alarm is looked up with each new one, which only raises its count.
CREATE INDEX active_alarms ON alarms (source, type) WHERE status = 'ACTIVE';

-- Who is whose child, by relation: 0 device, 1 asset, 2 addition. Children are listed in the order they were added.
CREATE TABLE children (
  number INTEGER PRIMARY KEY,
  relation INTEGER NOT NULL,
  parent TEXT NOT NULL,
  child TEXT NOT NULL,
  UNIQUE (parent, relation, child)
);
CREATE INDEX children_by_child ON children (child);

-- Tenant options by scope: 0 tenant, 1 system. A value is JSON text. An empty store has a few to show.
CREATE TABLE options (
  scope INTEGER NOT NULL,
  category TEXT NOT NULL,
  key TEXT NOT NULL,
  value TEXT NOT NULL,
  PRIMARY KEY (scope, category, key)
) WITHOUT ROWID;
INSERT INTO options VALUES
  (0, 'alarms', 'retention.days', '"90"'),
  (0, 'fleet', 'region', '"north"'),
  (0, 'fleet', 'units', '"metric"'),
  (0, 'measurements', 'retention.days', '"30"'),
  (1, 'limits', 'page.size', '"2000"'),
  (1, 'limits', 'retention.days', '"365"');

-- What was set for the current user; one row or none.
CREATE TABLE current_user (number INTEGER PRIMARY KEY, document TEXT NOT NULL);

-- The id that the next document gets, whatever its kind.
CREATE TABLE next_id (value INTEGER NOT NULL);
INSERT INTO next_id VALUES (2504001);

PRAGMA user_version = 4;
