; expect: 52
(setq ss (ssget "_X" '((-4 . "<NOT") (-4 . "<AND") (0 . "INSERT") (8 . "Doors") (-4 . "AND>") (-4 . "NOT>"))))
(sslength ss)
