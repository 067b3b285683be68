(setq e (entlast))
(command "MOVE" e "" '(0 0 0) '(5 5 0))
(cdr (assoc 10 (entget e)))
