; expect: (100.0 50.0 0.0)
(entmake '((0 . "LINE") (8 . "Walls") (62 . 1) (10 0.0 0.0 0.0) (11 100.0 50.0 0.0)))
(cdr (assoc 11 (entget (entlast))))
