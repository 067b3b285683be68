(setq old (getvar "OSMODE"))
(setvar "OSMODE" 0)
(setvar "OSMODE" old)
(list old (getvar "CMDECHO"))
