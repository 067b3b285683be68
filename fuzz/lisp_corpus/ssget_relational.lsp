; expect: 1
(setq ss (ssget "X" '((0 . "CIRCLE") (-4 . ">") (40 . 0.1))))
(if ss (sslength ss) 0)
