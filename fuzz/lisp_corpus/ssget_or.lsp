; expect: 8
(setq ss (ssget "X" '((-4 . "<OR") (0 . "LINE") (0 . "CIRCLE") (-4 . "OR>"))))
(if ss (sslength ss) 0)
