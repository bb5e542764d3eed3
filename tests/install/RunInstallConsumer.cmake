# consumer test
