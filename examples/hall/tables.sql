-- Every event of every job, once. psql -f tables.sql DATABASE
CREATE TABLE event (
    station     text,
    job         text,
    job_created timestamptz,  -- a job that was deleted and made again counts from 1 again
    number      bigint,       -- counts up in its job, without gaps
    time        timestamptz NOT NULL,
    event       text NOT NULL,
    serial      text,         -- the instrument's; null: not about one
    kind        text,         -- of a measurement: standard or trial
    name        text,
    standard    text,         -- the name of a trial's standard
    delta_e     double precision,
    grade       text,         -- a trial's: pass, warn or fail, by the tolerances when it was sent
    payload     jsonb NOT NULL,  -- all of it
    PRIMARY KEY (station, job, job_created, number)
);
CREATE INDEX ON event (standard, time) WHERE kind = 'trial';

-- Where each instrument is.
CREATE TABLE instrument (
    serial text PRIMARY KEY,
    room   text NOT NULL
);
