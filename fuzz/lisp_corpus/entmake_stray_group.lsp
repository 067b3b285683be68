(entmake (quote ((0 . "LWPOLYLINE") (42 . 1) (10 0 0) (10 5 0))))
