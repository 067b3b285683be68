(setq e (ssname (ssget "X" '((0 . "LINE"))) 0) d (entget e))
(entmod (vl-remove (assoc 8 d) d))
(cdr (assoc 8 (entget e)))
