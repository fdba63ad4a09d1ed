set(slowTests Serve.ShowsALivePageInABrowser)
