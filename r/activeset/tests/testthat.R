library(testthat)
library(activeset)
test_check("activeset")
