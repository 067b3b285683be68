(defun *error* (msg) (princ (strcat "\ncaught: " msg)) (setq *error* nil) (princ))
(entmake '((0 . "LINE") (10 0 0 0) (11 1 1 0)))
(car nil 1)
