(setq ss (ssget "X") l nil i 0)
(repeat (sslength ss) (setq l (cons (cdr (assoc 0 (entget (ssname ss i)))) l) i (1+ i)))
(vl-sort l '<)
