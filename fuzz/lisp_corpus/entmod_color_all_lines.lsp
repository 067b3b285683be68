; expect: 7
(setq ss (ssget "X" '((0 . "LINE"))) i 0)
(repeat (sslength ss)
  (setq d (entget (ssname ss i)))
  (entmod (if (assoc 62 d) (subst '(62 . 3) (assoc 62 d) d) (append d '((62 . 3)))))
  (setq i (1+ i)))
i
