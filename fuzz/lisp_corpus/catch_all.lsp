; expect: "divide by zero"
(setq r (vl-catch-all-apply '/ '(1 0)))
(if (vl-catch-all-error-p r) (vl-catch-all-error-message r) r)
