; expect: "Room 1"
(entmake '((0 . "TEXT") (8 . "Text") (10 1.0 2.0 0.0) (40 . 0.25) (1 . "Room 1") (50 . 0.5)))
(cdr (assoc 1 (entget (entlast))))
