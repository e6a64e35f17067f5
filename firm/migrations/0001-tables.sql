-- What is kept. Nobody but optionsmgr_owner writes into these tables: the functions of later files do.

-- The firm itself: one row. `system` is the cluster that the row was written for: roles are known by their numbers,
-- which mean others in another cluster, so in a copy that was restored elsewhere nobody sees anything until
-- `init --restored` has looked the roles up anew.
CREATE TABLE optionsmgr.firm (
  one boolean PRIMARY KEY DEFAULT true CHECK (one),
  system bigint NOT NULL,
  restored bigint NOT NULL DEFAULT 0,      -- Grows with each restore: microseconds since 1970, or one more.
  number bigint NOT NULL DEFAULT 0,        -- Of the last commit.
  lowest_agent integer NOT NULL DEFAULT 1  -- Agents of a lower version keep the files they have.
);

-- Offices, teams, desks. A place that was removed stays for the sake of its history.
CREATE TABLE optionsmgr.places (
  id bigint GENERATED ALWAYS AS IDENTITY PRIMARY KEY,
  parent bigint REFERENCES optionsmgr.places CHECK (parent <> id),
  name text COLLATE "C" NOT NULL
    CHECK (pg_catalog.char_length(name) BETWEEN 1 AND 200 AND name !~ '[[:cntrl:]/]' AND name !~ '^[@ ]' AND name !~ ' $'),
  kind text NOT NULL DEFAULT '' CHECK (pg_catalog.char_length(kind) <= 40 AND kind !~ '[[:cntrl:]]'),
  token uuid NOT NULL DEFAULT pg_catalog.gen_random_uuid(),  -- Another one after every commit that touches the place.
  removed timestamptz
);
CREATE UNIQUE INDEX places_name ON optionsmgr.places (parent, name) NULLS NOT DISTINCT WHERE removed IS NULL;

-- Which login belongs where. The name is kept beside the number for restores.
CREATE TABLE optionsmgr.grants (
  role oid NOT NULL,
  name name NOT NULL,
  place bigint NOT NULL REFERENCES optionsmgr.places,
  admin boolean NOT NULL,
  PRIMARY KEY (role, place)
);
CREATE UNIQUE INDEX grants_one_desk ON optionsmgr.grants (role) WHERE NOT admin;
CREATE INDEX grants_place ON optionsmgr.grants (place);

-- The closure of tree and grants, kept by triggers: what a login sees, and what it may change as well.
CREATE TABLE optionsmgr.sight (
  role oid NOT NULL,
  place bigint NOT NULL REFERENCES optionsmgr.places,
  admin boolean NOT NULL,
  PRIMARY KEY (role, place)
);
CREATE INDEX sight_place ON optionsmgr.sight (place);

-- The values, each the exact text of tagged JSON of the stored form: never jsonb, which changes numbers. Year 0 is
-- every year. A row without a value locks what a farther place sets.
CREATE TABLE optionsmgr.settings (
  place bigint NOT NULL REFERENCES optionsmgr.places,
  product text COLLATE "C" NOT NULL CHECK (product IN ('T1', 'T2')),
  year integer NOT NULL CHECK (year BETWEEN 0 AND 9999),
  key text COLLATE "C" NOT NULL CHECK (pg_catalog.octet_length(key) BETWEEN 1 AND 1000),
  kind text COLLATE "C",
  value text COLLATE "C",
  locked boolean NOT NULL,
  token uuid NOT NULL,  -- Of the batch that wrote it.
  PRIMARY KEY (place, product, year, key),
  CONSTRAINT settings_something CHECK (value IS NOT NULL OR locked),
  CONSTRAINT settings_kind CHECK ((kind IS NULL) = (value IS NULL)),
  CONSTRAINT settings_size CHECK (pg_catalog.octet_length(value) <= 1048576),
  -- Looks at the first characters only: no cast that could fail, and tell the value in its complaint, runs here.
  CONSTRAINT settings_form CHECK (CASE kind
    WHEN 'text' THEN value LIKE '"%"'
    WHEN 'number' THEN value ~ '^(-?[0-9]|[{]"[$]real":)'
    WHEN 'data' THEN value LIKE '{"$data":"%"}'
    WHEN 'date' THEN value LIKE '{"$date":%}'
    WHEN 'array' THEN value LIKE '[%]'
    WHEN 'dictionary' THEN value LIKE '{%}' AND value NOT LIKE '{"$data":%' AND value NOT LIKE '{"$date":%'
    ELSE kind IS NULL
  END),
  -- History, the write-ahead log and backups keep what was ever in a row: secrets are not for this store.
  CONSTRAINT settings_secret CHECK (key <> 'PreparerPassword')
);
CREATE INDEX settings_token ON optionsmgr.settings (token);

-- What was changed: of settings with product, year and key; of the tree ('place') and of grants ('grant') with what
-- was and what is in words. All rows of a batch share number and token.
CREATE TABLE optionsmgr.changes (
  id bigint GENERATED ALWAYS AS IDENTITY PRIMARY KEY,
  number bigint NOT NULL,
  token uuid NOT NULL,
  at timestamptz NOT NULL,
  who name NOT NULL,
  subject text COLLATE "C" NOT NULL CHECK (subject IN ('setting', 'place', 'grant')),
  place bigint NOT NULL REFERENCES optionsmgr.places,
  product text COLLATE "C" NOT NULL,
  year integer NOT NULL,
  key text COLLATE "C" NOT NULL,
  kind_before text COLLATE "C",
  before text COLLATE "C",
  locked_before boolean NOT NULL,
  kind_after text COLLATE "C",
  after text COLLATE "C",
  locked_after boolean NOT NULL,
  comment text CHECK (pg_catalog.char_length(comment) <= 2000)
);
CREATE UNIQUE INDEX changes_token ON optionsmgr.changes (token, subject, place, product, year, key);
CREATE INDEX changes_place ON optionsmgr.changes (place, number);
CREATE INDEX changes_number ON optionsmgr.changes (number);

-- What each desk said last of itself.
CREATE TABLE optionsmgr.seen (
  role oid PRIMARY KEY,
  name name NOT NULL,
  place bigint NOT NULL REFERENCES optionsmgr.places,
  number bigint NOT NULL,
  agent integer NOT NULL,
  host text NOT NULL CHECK (pg_catalog.char_length(host) <= 255),
  at timestamptz NOT NULL
);
CREATE INDEX seen_place ON optionsmgr.seen (place);

INSERT INTO optionsmgr.firm (system) SELECT c.system_identifier FROM pg_catalog.pg_control_system() AS c;

-- A row of `changes` in the making.
CREATE TYPE optionsmgr.change AS (
  place bigint, product text, year integer, key text,
  kind_before text, before text, locked_before boolean, kind_after text, after text, locked_after boolean
);
