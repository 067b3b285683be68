; expect: 2.5
(entmake (list '(0 . "CIRCLE") '(8 . "Furniture") (cons 10 (list 5.0 5.0 0.0)) '(40 . 2.5) '(210 0.0 0.6 0.8)))
(cdr (assoc 40 (entget (entlast))))
