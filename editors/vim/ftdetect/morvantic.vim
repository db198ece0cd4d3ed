autocmd BufNewFile,BufRead *.sc setfiletype morvantic
