(entmake '((0 . "LINE") (10 0 0 0) (11 1 1 0)))
(setq l '(1))
(while T (setq l (append l l)))
