; expect: 15
(sslength (ssget "X" '((0 . "LWPOLYLINE") (8 . "Walls"))))
