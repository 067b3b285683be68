; expect: ((0.0 10.0 0.0) 5.0 3 4096 6 (5.0 5.0 0.0))
(list (mapcar '(lambda (x) (/ (fix (+ (* x 1000) (if (minusp x) -0.5 0.5))) 1000.0)) (polar '(0 0 0) (/ pi 2) 10))
      (distance '(0 0 0) '(3 4 0)) (fix 3.7) (expt 2 12) (gcd 12 18) (inters '(0 0 0) '(10 10 0) '(0 10 0) '(10 0 0)))
