; expect: 61
; the 55 entities, and after each of the 3 doors with an attribute its ATTRIB and SEQEND
(setq e (entnext) n 0)
(while e (setq n (1+ n) e (entnext e)))
n
