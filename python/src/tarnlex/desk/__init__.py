"""`tarnlex-desk`: a case of event logs in one database, asked by SQL and Sigma rules, shown as a page."""
