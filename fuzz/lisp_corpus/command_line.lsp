; expect: "LINE"
(command "LINE" '(0 0) '(10 0) '(10 10) "")
(cdr (assoc 0 (entget (entlast))))
