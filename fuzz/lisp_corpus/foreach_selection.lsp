; expect: 16
(setq ss (ssget "X" '((0 . "INSERT"))) n 0 names nil)
(while (< n (sslength ss))
  (setq names (cons (cdr (assoc 2 (entget (ssname ss n)))) names) n (1+ n)))
(foreach b names (princ b) (princ "\n"))
(length names)
