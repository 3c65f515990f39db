-- One row a run, by process id, with what its verdict is made of. Lines of one second stand in no order where they come
-- from two files: the older generation's, whose name sorts first, are taken first.
CREATE VIEW IF NOT EXISTS tanexics_runs AS
SELECT min(log_time) AS started, pid, max(incident) AS incident, count(request) AS calls,
       sum(code IS 0 AND error IS '') AS accepted,
       count(code) - sum(code IS 0 AND error IS '') AS failed,
       count(missing) AS missing, max(sent) AS sent, max(exit_code) AS exit_code
FROM (SELECT log_line, log_time, dirname(log_path) AS folder, pid, incident, request, code, error, missing, sent,
             exit_code,
             count(mark) OVER (PARTITION BY dirname(log_path), pid ORDER BY log_path, log_line) AS run
      FROM tanexics_log)
GROUP BY folder, pid, run
ORDER BY min(log_line);
