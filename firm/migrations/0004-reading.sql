-- What a desk asks, and what a person may look at with SQL. All of it runs with the asking login's own rights.

-- Which history this server follows: a promoted standby has a later timeline, another cluster another system.
CREATE FUNCTION optionsmgr.server(OUT system bigint, OUT timeline integer, OUT standby boolean)
LANGUAGE plpgsql STABLE SET search_path = pg_catalog, pg_temp
AS $$
BEGIN
  system := (SELECT c.system_identifier FROM pg_catalog.pg_control_system() c);
  standby := pg_catalog.pg_is_in_recovery();
  IF standby THEN
    timeline := (SELECT greatest(c.timeline_id, r.min_recovery_end_timeline)
                 FROM pg_catalog.pg_control_checkpoint() c, pg_catalog.pg_control_recovery() r);
  ELSE
    -- The control file tells of a promotion only after its first checkpoint; the log is written on at once.
    timeline := ('x' || pg_catalog.left(pg_catalog.pg_walfile_name(pg_catalog.pg_current_wal_lsn()), 8))::bit(32)::integer;
  END IF;
END $$;

-- The desk's state, as of one moment: a first row of the server and of the place (`level` null), one for each place of
-- its chain (level 0 is its own, `key` null) and, of those whose token is not among the known ones, one for each
-- setting. `refused` says why there is nothing else: 'grant' without a place, 'place' for one that is not the login's.
-- A desk's place is the one it is the desk of, or else the only one it administers; `wanted` names another that it sees.
CREATE FUNCTION optionsmgr.state(wanted bigint, known uuid[])
RETURNS TABLE (
  refused text, system bigint, timeline integer, standby boolean, restored bigint, firm_number bigint,
  lowest_agent integer, level integer, place bigint, name text, token uuid, whole boolean,
  product text, year integer, key text, kind text, value text, locked boolean,
  number bigint, at timestamptz, who name)
LANGUAGE plpgsql STABLE SET search_path = pg_catalog, pg_temp
AS $$
#variable_conflict use_column
DECLARE
  own bigint := state.wanted;
  trouble text;
BEGIN
  IF own IS NULL THEN
    own := (SELECT g.place FROM optionsmgr.grants g WHERE g.role = optionsmgr.me() AND NOT g.admin);
    IF own IS NULL THEN
      own := (SELECT pg_catalog.min(g.place) FROM optionsmgr.grants g WHERE g.role = optionsmgr.me()
              HAVING pg_catalog.count(*) = 1);
    END IF;
    IF own IS NULL THEN
      trouble := 'grant';
    END IF;
  ELSIF NOT EXISTS (SELECT FROM optionsmgr.places p WHERE p.id = own AND p.removed IS NULL) THEN
    trouble := 'place';
  END IF;
  RETURN QUERY
    SELECT trouble, s.system, s.timeline, s.standby, f.restored, f.number, f.lowest_agent, NULL::integer, own,
           NULL::text, NULL::uuid, NULL::boolean, NULL::text, NULL::integer, NULL::text, NULL::text, NULL::text,
           NULL::boolean, NULL::bigint, NULL::timestamptz, NULL::name
    FROM optionsmgr.server() s, optionsmgr.firm f;
  IF trouble IS NOT NULL THEN
    RETURN;
  END IF;
  RETURN QUERY
    WITH RECURSIVE chain(level, id, parent, name, token) AS (
      SELECT 0, p.id, p.parent, p.name, p.token FROM optionsmgr.places p WHERE p.id = own
      UNION ALL
      SELECT c.level + 1, p.id, p.parent, p.name, p.token
      FROM chain c JOIN optionsmgr.places p ON p.id = c.parent)
    SELECT NULL::text, NULL::bigint, NULL::integer, NULL::boolean, NULL::bigint, NULL::bigint, NULL::integer,
           c.level, c.id, c.name::text, c.token, c.token <> ALL (state.known), s.product, s.year, s.key, s.kind, s.value,
           s.locked, h.number, h.at, h.who
    FROM chain c
    CROSS JOIN LATERAL (
      SELECT NULL::text AS product, NULL::integer AS year, NULL::text AS key, NULL::text AS kind, NULL::text AS value,
             NULL::boolean AS locked, NULL::uuid AS token
      UNION ALL
      SELECT t.product, t.year, t.key, t.kind, t.value, t.locked, t.token FROM optionsmgr.settings t
      WHERE t.place = c.id AND c.token <> ALL (state.known)) AS s
    LEFT JOIN optionsmgr.changes h
      ON h.token = s.token AND h.subject = 'setting' AND h.place = c.id AND h.product = s.product
         AND h.year = s.year AND h.key = s.key;
END $$;

-- How much room the server has, and whether a commit is on more than one server: `synchronous` is how many standbys
-- it waits for that are attached, null where the owner may not know (0000-roles.sql).
CREATE FUNCTION optionsmgr.capacity(OUT used bigint, OUT allowed bigint, OUT desks bigint, OUT synchronous bigint)
LANGUAGE sql STABLE SECURITY DEFINER SET search_path = pg_catalog, pg_temp
AS $$
  SELECT (SELECT pg_catalog.sum(d.numbackends) FROM pg_catalog.pg_stat_database d)::bigint,
         pg_catalog.current_setting('max_connections')::bigint
           - pg_catalog.current_setting('superuser_reserved_connections')::bigint,
         (SELECT pg_catalog.count(*) FROM optionsmgr.grants g WHERE NOT g.admin),
         CASE WHEN pg_catalog.pg_has_role('optionsmgr_owner', 'pg_read_all_stats', 'MEMBER')
           THEN (SELECT pg_catalog.count(*) FROM pg_catalog.pg_stat_replication r
                 WHERE r.sync_state IN ('sync', 'quorum')) END
$$;

-- The places that one sees, each with its path and level.
CREATE VIEW optionsmgr.tree WITH (security_invoker) AS
  WITH RECURSIVE down(id, parent, name, kind, path, level) AS (
    SELECT p.id, p.parent, p.name::text, p.kind, p.name::text, 1
    FROM optionsmgr.places p WHERE p.parent IS NULL AND p.removed IS NULL
    UNION ALL
    SELECT p.id, p.parent, p.name::text, p.kind, d.path || '/' || p.name, d.level + 1
    FROM down d JOIN optionsmgr.places p ON p.parent = d.id WHERE p.removed IS NULL)
  SELECT d.id, d.parent, d.name, d.kind, d.path, d.level,
         EXISTS (SELECT FROM optionsmgr.sight s WHERE s.role = optionsmgr.me() AND s.place = d.id AND s.admin) AS admin
  FROM down d;

GRANT SELECT ON optionsmgr.tree TO optionsmgr_desk;
GRANT EXECUTE ON FUNCTION optionsmgr.server(), optionsmgr.state(bigint, uuid[]), optionsmgr.capacity() TO optionsmgr_desk;
