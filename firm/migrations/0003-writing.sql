-- How settings, places and grants are changed: one call a batch, a transaction of its own.
--
-- Locks are taken in one order everywhere: the grants' (for tree and grants only), the places' rows by number, and last
-- the firm's row, which is the counter. Once that is held nothing is waited for. Refusals: OM001 there is no such
-- place, role or grant; OM065 the batch cannot be; OM066 a circle, or too deep; OM075 changed since; OM077 not
-- allowed; OM078 not empty. Their texts hold no value.

CREATE FUNCTION optionsmgr.require_admin(wanted bigint[]) RETURNS void
LANGUAGE plpgsql STABLE SET search_path = pg_catalog, pg_temp
AS $$
BEGIN
  IF (SELECT pg_catalog.count(*) FROM optionsmgr.sight s
      WHERE s.role = optionsmgr.me() AND s.admin AND s.place = ANY (wanted)) <> pg_catalog.cardinality(wanted) THEN
    RAISE EXCEPTION 'not an administrator of the place' USING ERRCODE = 'OM077';
  END IF;
END $$;

-- Takes the places' rows, in order, and renews nothing yet. Whoever is no administrator of them all takes none.
CREATE FUNCTION optionsmgr.take_places(wanted bigint[]) RETURNS void
LANGUAGE plpgsql SET search_path = pg_catalog, pg_temp
AS $$
DECLARE
  taken bigint;
BEGIN
  PERFORM optionsmgr.require_admin(wanted);
  PERFORM FROM optionsmgr.places p WHERE p.id = ANY (wanted) AND p.removed IS NULL ORDER BY p.id FOR NO KEY UPDATE;
  GET DIAGNOSTICS taken = ROW_COUNT;
  IF taken <> pg_catalog.cardinality(wanted) THEN
    RAISE EXCEPTION 'the place is no more' USING ERRCODE = 'OM001';
  END IF;
  -- Who lost his grant while he waited has lost it.
  PERFORM optionsmgr.require_admin(wanted);
END $$;

-- The firm's next number. Held until the commit: the last lock that is taken.
CREATE FUNCTION optionsmgr.next_number() RETURNS bigint
LANGUAGE sql SET search_path = pg_catalog, pg_temp
AS $$ UPDATE optionsmgr.firm SET number = number + 1 RETURNING number $$;

-- Writes a batch of settings, an element of each list an entry: `sets` says that the value becomes `kind` and `value`,
-- which are null to take it away; `locks` what its lock becomes, null to leave it; `expected` the token that the entry
-- must still have, zeros for no entry, null for any. Answers the number and how many entries changed; no number, and
-- nothing written, when none did.
CREATE FUNCTION optionsmgr.write(
  batch uuid, remark text, places bigint[], products text[], years integer[], keys text[],
  sets boolean[], kinds text[], vals text[], locks boolean[], expected uuid[],
  OUT number bigint, OUT changed integer)
LANGUAGE plpgsql SECURITY DEFINER SET search_path = pg_catalog, pg_temp
AS $$
#variable_conflict use_column
DECLARE
  moment timestamptz := pg_catalog.clock_timestamp();
  wanted bigint[] := ARRAY(SELECT DISTINCT p.id FROM pg_catalog.unnest(write.places) AS p(id) ORDER BY 1);
  made optionsmgr.change[];
  stale bigint;
  entries bigint;
  removed bigint;
  put bigint;
BEGIN
  IF pg_catalog.cardinality(wanted) = 0 OR write.batch IS NULL THEN
    RAISE EXCEPTION 'an empty batch' USING ERRCODE = 'OM065';
  END IF;
  PERFORM optionsmgr.take_places(wanted);

  SELECT pg_catalog.array_agg(ROW(j.place, j.product, j.year, j.key, j.kind_before, j.before, j.locked_before,
                                  j.kind_after, j.after, j.locked_after)::optionsmgr.change
                              ORDER BY j.place, j.product, j.year, j.key)
           FILTER (WHERE (j.kind_after, j.after, j.locked_after)
                         IS DISTINCT FROM (j.kind_before, j.before, j.locked_before)),
         pg_catalog.count(*) FILTER (WHERE j.stands <> j.expected),
         pg_catalog.count(*) - pg_catalog.count(DISTINCT (j.place, j.product, j.year, j.key))
  INTO made, stale, entries
  FROM (SELECT w.place, w.product, w.year, w.key, w.expected,
               coalesce(s.token, '00000000-0000-0000-0000-000000000000') AS stands,
               s.kind AS kind_before, s.value AS before, coalesce(s.locked, false) AS locked_before,
               CASE WHEN w.sets THEN w.kind ELSE s.kind END AS kind_after,
               CASE WHEN w.sets THEN w.value ELSE s.value END AS after,
               coalesce(w.locks, s.locked, false) AS locked_after
        FROM ROWS FROM (pg_catalog.unnest(write.places), pg_catalog.unnest(write.products),
                        pg_catalog.unnest(write.years), pg_catalog.unnest(write.keys),
                        pg_catalog.unnest(write.sets), pg_catalog.unnest(write.kinds),
                        pg_catalog.unnest(write.vals), pg_catalog.unnest(write.locks),
                        pg_catalog.unnest(write.expected))
             AS w(place, product, year, key, sets, kind, value, locks, expected)
        LEFT JOIN optionsmgr.settings s
          ON s.place = w.place AND s.product = w.product AND s.year = w.year AND s.key = w.key) AS j;
  IF entries <> 0 THEN
    RAISE EXCEPTION 'an entry stands twice in the batch' USING ERRCODE = 'OM065';
  END IF;
  IF stale <> 0 THEN
    RAISE EXCEPTION 'an entry has changed since' USING ERRCODE = 'OM075';
  END IF;
  changed := coalesce(pg_catalog.cardinality(made), 0);
  IF changed = 0 THEN
    RETURN;
  END IF;

  DELETE FROM optionsmgr.settings s USING pg_catalog.unnest(made) AS m
  WHERE s.place = m.place AND s.product = m.product AND s.year = m.year AND s.key = m.key
    AND m.after IS NULL AND NOT m.locked_after;
  GET DIAGNOSTICS removed = ROW_COUNT;
  INSERT INTO optionsmgr.settings (place, product, year, key, kind, value, locked, token)
  SELECT m.place, m.product, m.year, m.key, m.kind_after, m.after, m.locked_after, write.batch
  FROM pg_catalog.unnest(made) AS m WHERE m.after IS NOT NULL OR m.locked_after
  ON CONFLICT (place, product, year, key)
  DO UPDATE SET kind = excluded.kind, value = excluded.value, locked = excluded.locked, token = excluded.token;
  GET DIAGNOSTICS put = ROW_COUNT;
  IF removed + put <> changed THEN
    RAISE EXCEPTION 'not every entry could be written' USING ERRCODE = 'OM077';
  END IF;
  UPDATE optionsmgr.places SET token = pg_catalog.gen_random_uuid()
  WHERE id IN (SELECT m.place FROM pg_catalog.unnest(made) AS m);

  number := optionsmgr.next_number();
  INSERT INTO optionsmgr.changes (number, token, at, who, subject, place, product, year, key, kind_before, before,
                                  locked_before, kind_after, after, locked_after, comment)
  SELECT write.number, write.batch, moment, session_user, 'setting', m.place, m.product, m.year,
         m.key, m.kind_before, m.before, m.locked_before, m.kind_after, m.after, m.locked_after, write.remark
  FROM pg_catalog.unnest(made) AS m;
  PERFORM pg_catalog.pg_notify('optionsmgr', '');
END $$;

-- The rows of history for a change of the tree or of a grant, and the hint to the agents.
CREATE FUNCTION optionsmgr.note(batch uuid, remark text, subject text, place bigint, key text, before text, after text)
RETURNS bigint
LANGUAGE plpgsql SET search_path = pg_catalog, pg_temp
AS $$
#variable_conflict use_column
DECLARE
  moment timestamptz := pg_catalog.clock_timestamp();
  counted bigint := optionsmgr.next_number();
BEGIN
  INSERT INTO optionsmgr.changes (number, token, at, who, subject, place, product, year, key, before, locked_before,
                                  after, locked_after, comment)
  VALUES (counted, note.batch, moment, session_user, note.subject, note.place, '', 0, note.key,
          note.before, false, note.after, false, note.remark);
  PERFORM pg_catalog.pg_notify('optionsmgr', '');
  RETURN counted;
END $$;

-- The place's path from the top, its names parted by "/".
CREATE FUNCTION optionsmgr.path_of(place bigint) RETURNS text
LANGUAGE sql STABLE SET search_path = pg_catalog, pg_temp
AS $$
  WITH RECURSIVE up(parent, path) AS (
    SELECT p.parent, p.name::text FROM optionsmgr.places p WHERE p.id = place
    UNION ALL
    SELECT p.parent, p.name || '/' || u.path FROM up u JOIN optionsmgr.places p ON p.id = u.parent)
  SELECT u.path FROM up u WHERE u.parent IS NULL
$$;

-- A new place under another, or the top of a tree (no parent), which only who may act as the owner makes and then
-- administers. Answers its number among the places.
CREATE FUNCTION optionsmgr.add_place(batch uuid, remark text, parent bigint, name text, kind text) RETURNS bigint
LANGUAGE plpgsql SECURITY DEFINER SET search_path = pg_catalog, pg_temp
AS $$
#variable_conflict use_column
DECLARE
  added bigint;
BEGIN
  LOCK TABLE optionsmgr.grants IN SHARE ROW EXCLUSIVE MODE;
  IF add_place.parent IS NOT NULL THEN
    PERFORM optionsmgr.take_places(ARRAY[add_place.parent]);
  ELSIF NOT pg_catalog.pg_has_role(session_user, 'optionsmgr_owner', 'MEMBER') THEN
    RAISE EXCEPTION 'only the owner makes the top of a tree' USING ERRCODE = 'OM077';
  END IF;
  INSERT INTO optionsmgr.places (parent, name, kind)
  VALUES (add_place.parent, add_place.name, coalesce(add_place.kind, '')) RETURNING id INTO added;
  IF add_place.parent IS NULL THEN
    INSERT INTO optionsmgr.grants (role, name, place, admin) VALUES (optionsmgr.me(), session_user, added, true);
  END IF;
  PERFORM optionsmgr.note(batch, remark, 'place', added, '', NULL, optionsmgr.path_of(added));
  RETURN added;
END $$;

-- The places at and below one, in order.
CREATE FUNCTION optionsmgr.subtree(place bigint) RETURNS bigint[]
LANGUAGE sql STABLE SET search_path = pg_catalog, pg_temp
AS $$
  WITH RECURSIVE down(id) AS (
    SELECT p.id FROM optionsmgr.places p WHERE p.id = place
    UNION
    SELECT p.id FROM down d JOIN optionsmgr.places p ON p.parent = d.id WHERE p.removed IS NULL)
  SELECT coalesce(pg_catalog.array_agg(d.id ORDER BY d.id), ARRAY[]::bigint[]) FROM down d
$$;

-- Puts a place under another one. Its administrator needs to be that of where it comes from and of where it goes.
CREATE FUNCTION optionsmgr.move_place(batch uuid, remark text, place bigint, parent bigint) RETURNS bigint
LANGUAGE plpgsql SECURITY DEFINER SET search_path = pg_catalog, pg_temp
AS $$
#variable_conflict use_column
DECLARE
  moved bigint[];
  left_from bigint;
  before text;
BEGIN
  LOCK TABLE optionsmgr.grants IN SHARE ROW EXCLUSIVE MODE;
  SELECT p.parent INTO left_from FROM optionsmgr.places p WHERE p.id = move_place.place;
  IF left_from IS NULL OR move_place.parent IS NULL THEN
    RAISE EXCEPTION 'the top of a tree stays where it is' USING ERRCODE = 'OM077';
  END IF;
  PERFORM optionsmgr.require_admin(ARRAY[left_from]);
  moved := optionsmgr.subtree(move_place.place);
  PERFORM optionsmgr.take_places(ARRAY(
    SELECT DISTINCT t.id FROM pg_catalog.unnest(moved || move_place.parent) AS t(id) ORDER BY 1));
  IF left_from = move_place.parent THEN
    RETURN NULL;
  END IF;
  before := optionsmgr.path_of(place);
  UPDATE optionsmgr.places SET parent = move_place.parent WHERE id = move_place.place;
  UPDATE optionsmgr.places SET token = pg_catalog.gen_random_uuid() WHERE id = ANY (moved);
  RETURN optionsmgr.note(batch, remark, 'place', place, '', before, optionsmgr.path_of(place));
END $$;

-- Takes a place away with its settings and grants, which its history keeps. Not while others stand under it.
CREATE FUNCTION optionsmgr.remove_place(batch uuid, remark text, place bigint) RETURNS bigint
LANGUAGE plpgsql SECURITY DEFINER SET search_path = pg_catalog, pg_temp
AS $$
#variable_conflict use_column
DECLARE
  moment timestamptz := pg_catalog.clock_timestamp();
  counted bigint;
BEGIN
  LOCK TABLE optionsmgr.grants IN SHARE ROW EXCLUSIVE MODE;
  PERFORM optionsmgr.take_places(ARRAY[remove_place.place]);
  IF pg_catalog.cardinality(optionsmgr.subtree(place)) > 1 THEN
    RAISE EXCEPTION 'other places stand under it' USING ERRCODE = 'OM078';
  END IF;
  counted := optionsmgr.note(batch, remark, 'place', place, '', optionsmgr.path_of(place), NULL);
  INSERT INTO optionsmgr.changes (number, token, at, who, subject, place, product, year, key, kind_before, before,
                                  locked_before, locked_after, comment)
  SELECT counted, batch, moment, session_user, 'setting', s.place, s.product, s.year, s.key, s.kind,
         s.value, s.locked, false, remark
  FROM optionsmgr.settings s WHERE s.place = remove_place.place;
  INSERT INTO optionsmgr.changes (number, token, at, who, subject, place, product, year, key, before, locked_before,
                                  locked_after, comment)
  SELECT counted, batch, moment, session_user, 'grant', g.place, '', 0, g.name,
         CASE WHEN g.admin THEN 'admin' ELSE 'desk' END, false, false, remark
  FROM optionsmgr.grants g WHERE g.place = remove_place.place;
  DELETE FROM optionsmgr.settings s WHERE s.place = remove_place.place;
  UPDATE optionsmgr.places SET removed = pg_catalog.clock_timestamp(), token = pg_catalog.gen_random_uuid()
  WHERE id = remove_place.place;
  DELETE FROM optionsmgr.grants g WHERE g.place = remove_place.place;
  RETURN counted;
END $$;

-- Lets a login see a place, as its desk, or administer it and all below. Answers no number when it does so already.
CREATE FUNCTION optionsmgr.grant_place(batch uuid, remark text, role_name name, place bigint, admin boolean)
RETURNS bigint
LANGUAGE plpgsql SECURITY DEFINER SET search_path = pg_catalog, pg_temp
AS $$
#variable_conflict use_column
DECLARE
  granted oid := (SELECT r.oid FROM pg_catalog.pg_roles r WHERE r.rolname = role_name);
  before boolean;
  counted bigint;
BEGIN
  LOCK TABLE optionsmgr.grants IN SHARE ROW EXCLUSIVE MODE;
  PERFORM optionsmgr.take_places(ARRAY[grant_place.place]);
  IF granted IS NULL THEN
    RAISE EXCEPTION 'there is no such role' USING ERRCODE = 'OM001';
  END IF;
  SELECT g.admin INTO before FROM optionsmgr.grants g WHERE g.role = granted AND g.place = grant_place.place;
  IF before = grant_place.admin THEN
    RETURN NULL;
  END IF;
  IF NOT grant_place.admin
     AND EXISTS (SELECT FROM optionsmgr.grants g
                 WHERE g.role = granted AND NOT g.admin AND g.place <> grant_place.place) THEN
    RAISE EXCEPTION 'the role is the desk of another place' USING ERRCODE = 'OM079';
  END IF;
  -- A dropped role of this name leaves nothing to its successor, not even in a restored copy, which knows names.
  DELETE FROM optionsmgr.grants g
  WHERE g.name = role_name AND NOT EXISTS (SELECT FROM pg_catalog.pg_roles r WHERE r.oid = g.role);
  IF NOT pg_catalog.pg_has_role(granted, 'optionsmgr_desk', 'MEMBER') THEN
    EXECUTE pg_catalog.format('GRANT optionsmgr_desk TO %I', role_name);
  END IF;
  UPDATE optionsmgr.places SET token = pg_catalog.gen_random_uuid() WHERE id = grant_place.place;
  -- Noted before it is done: who takes the administration from himself may still say so.
  counted := optionsmgr.note(batch, remark, 'grant', place, role_name,
                             CASE before WHEN true THEN 'admin' WHEN false THEN 'desk' END,
                             CASE WHEN grant_place.admin THEN 'admin' ELSE 'desk' END);
  INSERT INTO optionsmgr.grants (role, name, place, admin)
  VALUES (granted, role_name, grant_place.place, grant_place.admin)
  ON CONFLICT (role, place) DO UPDATE SET admin = excluded.admin, name = excluded.name;
  RETURN counted;
END $$;

-- Takes that away again. By name, so that a grant to a role that was dropped can be taken away too.
CREATE FUNCTION optionsmgr.revoke_place(batch uuid, remark text, role_name name, place bigint) RETURNS bigint
LANGUAGE plpgsql SECURITY DEFINER SET search_path = pg_catalog, pg_temp
AS $$
#variable_conflict use_column
DECLARE
  held oid;
  had text;
  counted bigint;
BEGIN
  LOCK TABLE optionsmgr.grants IN SHARE ROW EXCLUSIVE MODE;
  PERFORM optionsmgr.take_places(ARRAY[revoke_place.place]);
  -- The role of that name, or else one that had it and was dropped.
  SELECT g.role, CASE WHEN g.admin THEN 'admin' ELSE 'desk' END INTO held, had
  FROM optionsmgr.grants g LEFT JOIN pg_catalog.pg_roles r ON r.oid = g.role
  WHERE g.place = revoke_place.place AND coalesce(r.rolname, g.name) = role_name
  ORDER BY r.oid IS NULL LIMIT 1;
  IF had IS NULL THEN
    RAISE EXCEPTION 'there is no such grant' USING ERRCODE = 'OM001';
  END IF;
  UPDATE optionsmgr.places SET token = pg_catalog.gen_random_uuid() WHERE id = revoke_place.place;
  counted := optionsmgr.note(batch, remark, 'grant', place, role_name, had, NULL);
  DELETE FROM optionsmgr.grants g WHERE g.role = held AND g.place = revoke_place.place;
  RETURN counted;
END $$;

-- Removes history before that moment, of the places that the login administers, but for the rows that tell of values
-- that stand. Answers how many rows went.
CREATE FUNCTION optionsmgr.prune_history(before timestamptz) RETURNS bigint
LANGUAGE plpgsql SECURITY DEFINER SET search_path = pg_catalog, pg_temp
AS $$
DECLARE
  gone bigint;
BEGIN
  DELETE FROM optionsmgr.changes c
  WHERE c.at < prune_history.before
    AND NOT EXISTS (SELECT FROM optionsmgr.settings s
                    WHERE s.token = c.token AND c.subject = 'setting' AND s.place = c.place AND s.product = c.product
                      AND s.year = c.year AND s.key = c.key);
  GET DIAGNOSTICS gone = ROW_COUNT;
  RETURN gone;
END $$;

-- What a desk says of itself.
CREATE FUNCTION optionsmgr.report(place bigint, number bigint, agent integer, host text) RETURNS void
LANGUAGE plpgsql SECURITY DEFINER SET search_path = pg_catalog, pg_temp
AS $$
#variable_conflict use_column
BEGIN
  IF NOT EXISTS (SELECT FROM optionsmgr.sight s WHERE s.role = optionsmgr.me() AND s.place = report.place) THEN
    RAISE EXCEPTION 'not a place of this role' USING ERRCODE = 'OM077';
  END IF;
  INSERT INTO optionsmgr.seen (role, name, place, number, agent, host, at)
  VALUES (optionsmgr.me(), session_user, report.place, report.number, report.agent, report.host,
          pg_catalog.clock_timestamp())
  ON CONFLICT (role) DO UPDATE SET name = excluded.name, place = excluded.place, number = excluded.number,
                                   agent = excluded.agent, host = excluded.host, at = excluded.at;
END $$;

-- Takes that back, on a desk's last day.
CREATE FUNCTION optionsmgr.leave() RETURNS void
LANGUAGE sql SECURITY DEFINER SET search_path = pg_catalog, pg_temp
AS $$ DELETE FROM optionsmgr.seen s WHERE s.role = optionsmgr.me() $$;

-- The number that the login's batch with this token was given; none when it never was committed.
CREATE FUNCTION optionsmgr.committed(batch uuid) RETURNS bigint
LANGUAGE sql STABLE SECURITY DEFINER SET search_path = pg_catalog, pg_temp
AS $$ SELECT pg_catalog.max(c.number) FROM optionsmgr.changes c WHERE c.token = batch AND c.who = session_user $$;

-- Has the grants tell the names that their roles have by now, for the day of a restore. For the owner only.
CREATE FUNCTION optionsmgr.renew_names() RETURNS void
LANGUAGE sql SET search_path = pg_catalog, pg_temp
AS $$
  UPDATE optionsmgr.grants g SET name = r.rolname FROM pg_catalog.pg_roles r WHERE r.oid = g.role AND r.rolname <> g.name
$$;

-- After a restore: roles are looked up by name, grants of those that are no more go, every token is another one, and
-- the store counts as a history of its own. For the owner only.
CREATE FUNCTION optionsmgr.restore_done() RETURNS void
LANGUAGE plpgsql SET search_path = pg_catalog, pg_temp
AS $$
DECLARE
  names name[];
  held bigint[];
  admins boolean[];
BEGIN
  LOCK TABLE optionsmgr.grants IN SHARE ROW EXCLUSIVE MODE;
  UPDATE optionsmgr.firm f
  SET system = c.system_identifier,
      restored = greatest(f.restored + 1, (extract(epoch FROM pg_catalog.clock_timestamp()) * 1000000)::bigint)
  FROM pg_catalog.pg_control_system() c;
  -- All away before any comes back: one role's old number may be another one's new number.
  SELECT pg_catalog.array_agg(g.name), pg_catalog.array_agg(g.place), pg_catalog.array_agg(g.admin)
  INTO names, held, admins FROM optionsmgr.grants g;
  DELETE FROM optionsmgr.grants;
  DELETE FROM optionsmgr.sight;
  INSERT INTO optionsmgr.grants (role, name, place, admin)
  SELECT r.oid, g.name, g.place, g.admin
  FROM ROWS FROM (pg_catalog.unnest(names), pg_catalog.unnest(held), pg_catalog.unnest(admins)) AS g(name, place, admin)
  JOIN pg_catalog.pg_roles r ON r.rolname = g.name;
  UPDATE optionsmgr.places SET token = pg_catalog.gen_random_uuid();
  PERFORM pg_catalog.pg_notify('optionsmgr', '');
END $$;

GRANT EXECUTE ON FUNCTION
  optionsmgr.write(uuid, text, bigint[], text[], integer[], text[], boolean[], text[], text[], boolean[], uuid[]),
  optionsmgr.add_place(uuid, text, bigint, text, text),
  optionsmgr.move_place(uuid, text, bigint, bigint),
  optionsmgr.remove_place(uuid, text, bigint),
  optionsmgr.grant_place(uuid, text, name, bigint, boolean),
  optionsmgr.revoke_place(uuid, text, name, bigint),
  optionsmgr.prune_history(timestamptz),
  optionsmgr.report(bigint, bigint, integer, text),
  optionsmgr.leave(),
  optionsmgr.committed(uuid)
TO optionsmgr_desk;
