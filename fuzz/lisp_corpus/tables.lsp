; expect: (10 7)
(setq names nil l (tblnext "LAYER" T))
(while l (setq names (cons (cdr (assoc 2 l)) names) l (tblnext "LAYER")))
(list (length names) (cdr (assoc 62 (tblsearch "LAYER" "Walls"))))
