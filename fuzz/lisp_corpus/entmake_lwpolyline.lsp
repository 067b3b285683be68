; expect: 4
(entmake '((0 . "LWPOLYLINE") (100 . "AcDbEntity") (8 . "Walls") (100 . "AcDbPolyline") (90 . 4) (70 . 1)
           (10 0.0 0.0) (10 10.0 0.0) (42 . 0.5) (10 10.0 10.0) (10 0.0 10.0)))
(length (vl-remove-if-not '(lambda (g) (= (car g) 10)) (entget (entlast))))
