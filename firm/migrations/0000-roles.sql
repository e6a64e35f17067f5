-- The two roles of a firm's store and what the database allows to everyone. Run by every `init`, by the role that
-- connects; each step is taken only where it is wanted, so that a second run changes nothing.
--
-- optionsmgr_owner owns everything in the schema and logs in nowhere. Functions that work for others run as it: a
-- role that is no superuser and may bypass nothing, so that row-level security holds inside them too.
-- optionsmgr_desk is what every desk and administrator belongs to. It opens the schema and shows not one row:
-- what a login sees is told by optionsmgr.sight.
DO $$
BEGIN
  IF pg_catalog.to_regrole('optionsmgr_owner') IS NULL THEN
    CREATE ROLE optionsmgr_owner NOLOGIN;
  END IF;
END $$;
DO $$
BEGIN
  IF pg_catalog.to_regrole('optionsmgr_desk') IS NULL THEN
    CREATE ROLE optionsmgr_desk NOLOGIN;
  END IF;
END $$;
DO $$
DECLARE
  function_name pg_catalog.regprocedure;
  superuser boolean := (SELECT r.rolsuper FROM pg_catalog.pg_roles r WHERE r.rolname = current_user);
BEGIN
  IF NOT EXISTS (SELECT FROM pg_catalog.pg_auth_members m
                 WHERE m.roleid = 'optionsmgr_desk'::pg_catalog.regrole
                   AND m.member = 'optionsmgr_owner'::pg_catalog.regrole AND m.admin_option) THEN
    GRANT optionsmgr_desk TO optionsmgr_owner WITH ADMIN OPTION;
  END IF;
  IF NOT superuser AND NOT pg_catalog.pg_has_role(current_user, 'optionsmgr_owner', 'MEMBER') THEN
    EXECUTE pg_catalog.format('GRANT optionsmgr_owner TO %I', current_user);
  END IF;

  -- A temporary table could stand in for one of ours wherever a name is looked up.
  IF pg_catalog.has_database_privilege('public', pg_catalog.current_database(), 'TEMPORARY')
     OR pg_catalog.has_database_privilege('public', pg_catalog.current_database(), 'CONNECT') THEN
    EXECUTE pg_catalog.format('REVOKE TEMPORARY, CONNECT ON DATABASE %I FROM PUBLIC', pg_catalog.current_database());
  END IF;
  IF NOT pg_catalog.has_database_privilege('optionsmgr_desk', pg_catalog.current_database(), 'CONNECT') THEN
    EXECUTE pg_catalog.format('GRANT CONNECT ON DATABASE %I TO optionsmgr_desk', pg_catalog.current_database());
  END IF;
  IF pg_catalog.has_schema_privilege('public', 'public', 'CREATE') THEN
    REVOKE CREATE ON SCHEMA public FROM PUBLIC;
  END IF;
  -- A transaction that somebody left open at a prompt would hold up every other administrator.
  IF NOT EXISTS (SELECT FROM pg_catalog.pg_db_role_setting s, pg_catalog.unnest(s.setconfig) AS said
                 WHERE s.setrole = 0 AND said LIKE 'idle_in_transaction_session_timeout=%'
                   AND s.setdatabase = (SELECT d.oid FROM pg_catalog.pg_database d
                                        WHERE d.datname = pg_catalog.current_database())) THEN
    EXECUTE pg_catalog.format('ALTER DATABASE %I SET idle_in_transaction_session_timeout = ''1min''',
                              pg_catalog.current_database());
  END IF;

  -- Large objects know no row-level security, and anyone may make them. Their functions belong to the superuser:
  -- where `init` runs as another role, `status` tells that they stand open.
  IF superuser THEN
    FOR function_name IN
      SELECT p.oid FROM pg_catalog.pg_proc p
      WHERE p.pronamespace = 'pg_catalog'::pg_catalog.regnamespace
        AND p.proname IN ('lo_creat', 'lo_create', 'lo_from_bytea', 'lo_get', 'lo_put', 'lo_open', 'lo_import',
                          'lo_export', 'lo_unlink', 'lo_truncate', 'lo_truncate64', 'lowrite', 'loread')
        AND pg_catalog.has_function_privilege('public', p.oid, 'EXECUTE')
    LOOP
      EXECUTE pg_catalog.format('REVOKE EXECUTE ON FUNCTION %s FROM PUBLIC', function_name);
    END LOOP;
  END IF;

  -- Whether a standby is attached; only a superuser may let the owner see it.
  IF superuser AND NOT pg_catalog.pg_has_role('optionsmgr_owner', 'pg_read_all_stats', 'MEMBER') THEN
    GRANT pg_read_all_stats TO optionsmgr_owner;
  END IF;

  IF pg_catalog.to_regnamespace('optionsmgr') IS NULL THEN
    CREATE SCHEMA optionsmgr AUTHORIZATION optionsmgr_owner;
  END IF;
END $$;
SET LOCAL ROLE optionsmgr_owner;
ALTER DEFAULT PRIVILEGES FOR ROLE optionsmgr_owner REVOKE EXECUTE ON FUNCTIONS FROM PUBLIC;
GRANT USAGE ON SCHEMA optionsmgr TO optionsmgr_desk;
CREATE TABLE IF NOT EXISTS optionsmgr.migrations (
  number integer PRIMARY KEY,
  name text NOT NULL,
  at timestamptz NOT NULL DEFAULT pg_catalog.now()
);
ALTER TABLE optionsmgr.migrations ENABLE ROW LEVEL SECURITY;
