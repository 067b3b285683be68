; expect: nil
(command "_.CIRCLE" '(5 5) 2.0)
(setq c (entlast))
(command "ERASE" c "")
(entget c)
