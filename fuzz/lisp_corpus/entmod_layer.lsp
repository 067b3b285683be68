(setq e (entlast) d (entget e))
(setq d (subst (cons 8 "Axes") (assoc 8 d) d))
(entmod d)
(cdr (assoc 8 (entget e)))
