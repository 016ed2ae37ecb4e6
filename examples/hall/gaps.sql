-- The jobs of which events are missing, and how many. Numbers have no gaps: what a job has up to its
-- highest number must all be here.
SELECT station, job, job_created, max(number) - count(*) AS missing
FROM event
GROUP BY station, job, job_created
HAVING max(number) <> count(*);
