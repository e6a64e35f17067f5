-- Who sees what: the closure kept by triggers, and the policies that look it up.

-- The login's number; none in a copy of the store that stands in another cluster. It is the login that counts, not a
-- role taken on since, so membership in somebody else's role opens nothing.
-- In PL/pgSQL, which keeps its plan: each policy of each statement asks for it anew, and as SQL that was planned every
-- time, the half of what a fetch took.
CREATE FUNCTION optionsmgr.me() RETURNS oid
LANGUAGE plpgsql STABLE SECURITY DEFINER SET search_path = pg_catalog, pg_temp
AS $$
BEGIN
  RETURN (SELECT r.oid FROM pg_catalog.pg_roles r, optionsmgr.firm f, pg_catalog.pg_control_system() c
          WHERE r.rolname = session_user AND f.system = c.system_identifier);
END $$;

-- Makes the closure of these logins anew.
CREATE FUNCTION optionsmgr.renew_sight(roles oid[]) RETURNS void
LANGUAGE sql SET search_path = pg_catalog, pg_temp
AS $$
  DELETE FROM optionsmgr.sight s WHERE s.role = ANY (roles);
  WITH RECURSIVE
    granted AS (SELECT g.role, g.place, g.admin FROM optionsmgr.grants g WHERE g.role = ANY (roles)),
    up(role, place) AS (
      SELECT g.role, g.place FROM granted g
      UNION
      SELECT u.role, p.parent FROM up u JOIN optionsmgr.places p ON p.id = u.place WHERE p.parent IS NOT NULL),
    down(role, place) AS (
      SELECT g.role, g.place FROM granted g WHERE g.admin
      UNION
      SELECT d.role, p.id FROM down d JOIN optionsmgr.places p ON p.parent = d.place)
  INSERT INTO optionsmgr.sight (role, place, admin)
  SELECT a.role, a.place, pg_catalog.bool_or(a.admin)
  FROM (SELECT u.role, u.place, false AS admin FROM up u
        UNION ALL SELECT d.role, d.place, true FROM down d) AS a
  GROUP BY a.role, a.place;
$$;

-- A place may not come to stand under itself, nor deeper than the eighth level. Whoever changes the tree holds the
-- lock of the grants, which only the owner can take; so no two changes make a circle together.
CREATE FUNCTION optionsmgr.check_tree() RETURNS trigger
LANGUAGE plpgsql SET search_path = pg_catalog, pg_temp
AS $$
DECLARE
  above integer;
  below integer;
  circle boolean;
BEGIN
  LOCK TABLE optionsmgr.grants IN SHARE ROW EXCLUSIVE MODE;
  WITH RECURSIVE up(id, parent, level) AS (
    SELECT p.id, p.parent, 1 FROM optionsmgr.places p WHERE p.id = NEW.parent
    UNION ALL
    SELECT p.id, p.parent, u.level + 1 FROM up u JOIN optionsmgr.places p ON p.id = u.parent WHERE u.level < 9)
  SELECT coalesce(pg_catalog.max(u.level), 0), coalesce(pg_catalog.bool_or(u.id = NEW.id), false)
  INTO above, circle FROM up u;
  WITH RECURSIVE down(id, level) AS (
    SELECT NEW.id, 1
    UNION ALL
    SELECT p.id, d.level + 1 FROM down d JOIN optionsmgr.places p ON p.parent = d.id
    WHERE p.removed IS NULL AND d.level < 9)
  SELECT pg_catalog.max(d.level) INTO below FROM down d;
  IF circle OR above + below > 8 THEN
    RAISE EXCEPTION 'places would stand in a circle or too deep' USING ERRCODE = 'OM066';
  END IF;
  RETURN NEW;
END $$;

CREATE FUNCTION optionsmgr.sight_of_place() RETURNS trigger
LANGUAGE plpgsql SET search_path = pg_catalog, pg_temp
AS $$
BEGIN
  IF TG_OP = 'INSERT' THEN
    INSERT INTO optionsmgr.sight (role, place, admin)
    SELECT s.role, NEW.id, true FROM optionsmgr.sight s WHERE s.place = NEW.parent AND s.admin;
  ELSE
    -- Whoever sees anything below a place sees the place.
    PERFORM optionsmgr.renew_sight(ARRAY(
      SELECT DISTINCT s.role FROM optionsmgr.sight s
      WHERE s.place = NEW.id OR (s.place = NEW.parent AND s.admin)));
  END IF;
  RETURN NULL;
END $$;

CREATE FUNCTION optionsmgr.sight_of_grant() RETURNS trigger
LANGUAGE plpgsql SET search_path = pg_catalog, pg_temp
AS $$
BEGIN
  IF TG_OP <> 'INSERT' THEN
    PERFORM optionsmgr.renew_sight(ARRAY[OLD.role]);
  END IF;
  IF TG_OP <> 'DELETE' THEN
    PERFORM optionsmgr.renew_sight(ARRAY[NEW.role]);
  END IF;
  RETURN NULL;
END $$;

CREATE TRIGGER check_tree BEFORE INSERT OR UPDATE OF parent ON optionsmgr.places
  FOR EACH ROW EXECUTE FUNCTION optionsmgr.check_tree();
CREATE TRIGGER sight_of_place AFTER INSERT OR UPDATE OF parent ON optionsmgr.places
  FOR EACH ROW EXECUTE FUNCTION optionsmgr.sight_of_place();
CREATE TRIGGER sight_of_grant AFTER INSERT OR UPDATE OR DELETE ON optionsmgr.grants
  FOR EACH ROW EXECUTE FUNCTION optionsmgr.sight_of_grant();

ALTER TABLE optionsmgr.firm ENABLE ROW LEVEL SECURITY;
ALTER TABLE optionsmgr.places ENABLE ROW LEVEL SECURITY;
ALTER TABLE optionsmgr.grants ENABLE ROW LEVEL SECURITY;
ALTER TABLE optionsmgr.sight ENABLE ROW LEVEL SECURITY;
ALTER TABLE optionsmgr.settings ENABLE ROW LEVEL SECURITY;
ALTER TABLE optionsmgr.changes ENABLE ROW LEVEL SECURITY;
ALTER TABLE optionsmgr.seen ENABLE ROW LEVEL SECURITY;
ALTER TABLE optionsmgr.migrations FORCE ROW LEVEL SECURITY;
ALTER TABLE optionsmgr.firm FORCE ROW LEVEL SECURITY;
ALTER TABLE optionsmgr.places FORCE ROW LEVEL SECURITY;
ALTER TABLE optionsmgr.grants FORCE ROW LEVEL SECURITY;
ALTER TABLE optionsmgr.sight FORCE ROW LEVEL SECURITY;
ALTER TABLE optionsmgr.settings FORCE ROW LEVEL SECURITY;
ALTER TABLE optionsmgr.changes FORCE ROW LEVEL SECURITY;
ALTER TABLE optionsmgr.seen FORCE ROW LEVEL SECURITY;

-- The tables from which sight is made cannot depend on it. The functions that write them ask by themselves.
CREATE POLICY keeping ON optionsmgr.migrations TO optionsmgr_owner USING (true);
CREATE POLICY keeping ON optionsmgr.firm TO optionsmgr_owner USING (true);
CREATE POLICY keeping ON optionsmgr.places TO optionsmgr_owner USING (true);
CREATE POLICY keeping ON optionsmgr.grants TO optionsmgr_owner USING (true);
CREATE POLICY keeping ON optionsmgr.sight TO optionsmgr_owner USING (true);

CREATE POLICY reading ON optionsmgr.firm FOR SELECT TO optionsmgr_desk USING (true);
CREATE POLICY reading ON optionsmgr.sight FOR SELECT TO optionsmgr_desk USING (role = (SELECT optionsmgr.me()));
CREATE POLICY reading ON optionsmgr.places FOR SELECT TO optionsmgr_desk
  USING (id IN (SELECT s.place FROM optionsmgr.sight s WHERE s.role = (SELECT optionsmgr.me())));
CREATE POLICY reading ON optionsmgr.grants FOR SELECT TO optionsmgr_desk
  USING (role = (SELECT optionsmgr.me())
         OR place IN (SELECT s.place FROM optionsmgr.sight s WHERE s.role = (SELECT optionsmgr.me()) AND s.admin));

-- Values and history are the login's to see or to change for everyone, the owner's functions among them.
CREATE POLICY reading ON optionsmgr.settings FOR SELECT
  USING (place IN (SELECT s.place FROM optionsmgr.sight s WHERE s.role = (SELECT optionsmgr.me())));
CREATE POLICY adding ON optionsmgr.settings FOR INSERT
  WITH CHECK (place IN (SELECT s.place FROM optionsmgr.sight s WHERE s.role = (SELECT optionsmgr.me()) AND s.admin));
CREATE POLICY changing ON optionsmgr.settings FOR UPDATE
  USING (place IN (SELECT s.place FROM optionsmgr.sight s WHERE s.role = (SELECT optionsmgr.me()) AND s.admin));
CREATE POLICY removing ON optionsmgr.settings FOR DELETE
  USING (place IN (SELECT s.place FROM optionsmgr.sight s WHERE s.role = (SELECT optionsmgr.me()) AND s.admin));
-- History is added to and thinned, never changed: there is no policy for that.
CREATE POLICY reading ON optionsmgr.changes FOR SELECT
  USING (place IN (SELECT s.place FROM optionsmgr.sight s WHERE s.role = (SELECT optionsmgr.me())));
CREATE POLICY adding ON optionsmgr.changes FOR INSERT
  WITH CHECK (who = session_user
              AND place IN (SELECT s.place FROM optionsmgr.sight s WHERE s.role = (SELECT optionsmgr.me()) AND s.admin));
CREATE POLICY removing ON optionsmgr.changes FOR DELETE
  USING (place IN (SELECT s.place FROM optionsmgr.sight s WHERE s.role = (SELECT optionsmgr.me()) AND s.admin));
CREATE POLICY reading ON optionsmgr.seen FOR SELECT
  USING (role = (SELECT optionsmgr.me())
         OR place IN (SELECT s.place FROM optionsmgr.sight s WHERE s.role = (SELECT optionsmgr.me()) AND s.admin));
CREATE POLICY adding ON optionsmgr.seen FOR INSERT WITH CHECK (role = (SELECT optionsmgr.me()));
CREATE POLICY changing ON optionsmgr.seen FOR UPDATE USING (role = (SELECT optionsmgr.me()));
CREATE POLICY removing ON optionsmgr.seen FOR DELETE USING (role = (SELECT optionsmgr.me()));

GRANT SELECT ON optionsmgr.firm, optionsmgr.places, optionsmgr.grants, optionsmgr.sight, optionsmgr.settings,
                optionsmgr.changes, optionsmgr.seen TO optionsmgr_desk;
GRANT EXECUTE ON FUNCTION optionsmgr.me() TO optionsmgr_desk;
