-- All trials of a standard this week out of tolerance, by room:
-- psql -v standard='Master 7' -f out-of-tolerance.sql DATABASE
SELECT coalesce(i.room, '?') AS room, m.time, m.station, m.job, m.number, m.name, m.serial,
       round(m.delta_e::numeric, 2) AS "ΔE",
       m.payload #>> '{result,verdict,deciding}' AS deciding
FROM event m
LEFT JOIN instrument i USING (serial)
WHERE m.kind = 'trial' AND m.standard = :'standard' AND m.grade = 'fail'
  AND m.time >= date_trunc('week', now())
  AND NOT EXISTS (
      SELECT FROM event s
      WHERE (s.station, s.job, s.job_created) = (m.station, m.job, m.job_created)
        AND s.event = 'struckOut' AND (s.payload ->> 'measurement')::bigint = m.number)
ORDER BY room, m.time;
