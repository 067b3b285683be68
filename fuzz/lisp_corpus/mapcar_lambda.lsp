; expect: 15.0
(mapcar '(lambda (x y) (* x y)) '(1 2 3) '(4.0 5 6))
(apply '+ (mapcar (function (lambda (p) (distance '(0 0) p))) '((3 4) (6 8))))
