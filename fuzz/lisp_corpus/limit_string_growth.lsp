(setq s "x")
(while T (setq s (strcat s s)))
