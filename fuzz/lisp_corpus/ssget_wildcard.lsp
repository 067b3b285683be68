; expect: 31
(setq ss (ssget "X" '((8 . "W*,D*") (0 . "~LINE"))))
(if ss (sslength ss) 0)
